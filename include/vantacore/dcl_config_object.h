// Configuration objects and the lists that diff them against a document.
#ifndef VANTACORE_DCL_CONFIG_OBJECT_H
#define VANTACORE_DCL_CONFIG_OBJECT_H

#include <cstdint>
#include <list>
#include <set>

#include "tarsel/options.h"
#include "tarsel/string.h"
#include "vantacore/export.h"

namespace Tarsel {

class DcConsole;
class DcRouterBase;

/// One row of protocol configuration: an interface's OSPF settings, a BGP peer. Concrete classes
/// live with the protocol routers. The order of the virtual operations and of the fields is fixed.
///
/// What a concrete object owes to its list:
///  - CommitToMib clears ActionReq once the request has been handed on, and keeps InMib true while
///    the row exists in the stack;
///  - an object that has been marked by SetDestroy answers 1 when it is compared with its own key,
///    so that a row that returns before the stack has answered the destroy is sent again;
///  - neither CommitToMib nor any other operation that the list calls changes the list: they do not
///    call its Parse, ParseOptions, ParseGroup, FindNewObjectAndUpdate, CommitToMib, SetDestroy,
///    DeleteOptions or Clear.
class VANTACORE_API DclConfigObject {
 public:
  /// The kind of document that configuration comes from. Other values are legal: a remote document
  /// of another kind.
  enum OptionType : int { VLAN_OPTIONS = 0, REMOTE_OPTIONS = 1 };

  /// Of a router, which must outlive the object. VLAN and id are 0; the row is not in the stack,
  /// and the object waits for its first commit.
  explicit DclConfigObject(DcRouterBase& router);
  /// Takes vlan, id and router from `other` and leaves the rest at its defaults.
  explicit DclConfigObject(const DclConfigObject* other);
  DclConfigObject(const DclConfigObject&) = delete;
  DclConfigObject& operator=(const DclConfigObject&) = delete;
  virtual ~DclConfigObject();

  /// Same VLAN and id.
  virtual bool KeyMatch(DclConfigObject* other) const;
  /// One trace line, level 5.
  virtual void DebugDump(const char* label);
  /// 0 the same key and contents, 1 the same key with other contents, 2 another object.
  virtual int Compare(DclConfigObject* other) = 0;
  /// Takes over the other's contents; the key stays.
  virtual void Update(DclConfigObject* other) = 0;
  /// The row status about to be written, for display.
  virtual unsigned short GetRowStatus() = 0;
  /// The next commit is to remove the row from the stack.
  virtual void SetDestroy() = 0;
  /// Prints the object; the console stays the caller's. `id` is the filter's, 0 for any.
  virtual void Display(DcConsole* console, unsigned int id) = 0;
  /// Sends the pending change. True if the object is finished and is to be deleted from its list.
  virtual bool CommitToMib() = 0;
  /// Fills the object from one group of the document; false rejects the group.
  virtual bool ParseOption(const OptionsNode& node, unsigned short vlan) = 0;

  /// Whether the row exists in the stack.
  bool GetInMib() const { return InMib; }
  /// Set when the stack has answered.
  void SetInMib(bool inMib) { InMib = inMib; }
  /// Whether a change waits for the next commit.
  bool GetActionReq() const { return ActionReq; }
  /// Asks for a commit, or cancels that.
  void SetActionReq(bool actionReq) { ActionReq = actionReq; }
  /// Whether the list has suspended the object.
  bool GetSuspended() const { return Suspended; }
  /// The VLAN of the object's router.
  unsigned short GetVlan() const { return vlan; }
  /// The object's number within its table.
  unsigned int GetId() const { return id; }
  /// The source that the object came from.
  const string& GetName() const { return name; }
  /// The kind of that source.
  OptionType GetType() const { return type; }
  /// The router that owns the object's list.
  DcRouterBase& GetRouter() const { return router; }

  /// The decimal number right after the n-th '_' of `name`, cut to 16 bits; 0 if there are fewer,
  /// or if `name` is null.
  static unsigned short ParseKeyFromName(const char* name, int n);
  /// Field 2 of an object name, also stored as the object's id.
  unsigned short ParseId(const char* name);
  /// Field 3 of an object name.
  static unsigned short ParseNumber(const char* name);
  /// Field 4 of an object name.
  static unsigned short ParseSecondIndex(const char* name);

  /// Reads an address family: 1 becomes 2 (IPv6), anything else and an absent member 1 (IPv4).
  /// Returns whether the member could be read. A null `key` is reported as an assertion and read as
  /// absent.
  static int ParseAfiOption(const OptionsNode& node, int& afi, const char* key);
  /// Reads a subsequent address family: 0 becomes 3, 1 becomes 128, 2 stays 2 (multicast), anything
  /// else and an absent member 1 (unicast). Otherwise like ParseAfiOption.
  static int ParseSafiOption(const OptionsNode& node, int& safi, const char* key);

 protected:
  friend class DCLConfigList;

  unsigned short vlan;   ///< of the router that owns the object
  std::uint32_t id;      ///< within its table
  string name;           ///< the configuration source that the object came from
  OptionType type;       ///< the kind of that source
  bool InMib;            ///< the row exists in the stack
  bool ActionReq;        ///< a change waits for the next commit
  bool Suspended;        ///< set and cleared by DCLConfigList::Clear(vlan, suspend)
  DcRouterBase& router;  ///< the owner
};

/// Which objects DisplayList shows; 0 is any.
struct VANTACORE_API DclConfigDisplayFilter {
  /// An object's id, or 0 for any.
  unsigned int id = 0;
  /// An object's VLAN, or 0 for any.
  unsigned short vlan = 0;
};

/// Visits objects; false stops the walk.
class VANTACORE_API DclConfigListIteratorFunc {
 public:
  virtual ~DclConfigListIteratorFunc();
  /// Called with one object of the list, which stays the list's and must not be deleted.
  virtual bool operator()(DclConfigObject* object) = 0;
};

/// All configuration objects of one kind of one router. Owns its objects, keeps them in the order
/// in which they were added, and sends only differences between documents to the stack. The order
/// of the virtual operations and of the fields is fixed.
class VANTACORE_API DCLConfigList {
 public:
  /// `label` names the list in traces, `key` is the document member that holds its groups; both are
  /// borrowed for the life of the list.
  DCLConfigList(DcRouterBase* router, const char* label, const char* key);
  DCLConfigList(const DCLConfigList&) = delete;
  DCLConfigList& operator=(const DCLConfigList&) = delete;
  /// Deletes the objects without touching the stack.
  virtual ~DCLConfigList();

  /// True when an object with this VLAN and id has its row in the stack.
  virtual bool CheckInMib(unsigned short vlan, unsigned int id) const;
  /// An interface of the router has changed its status.
  virtual void ProcessInterfaceStatusChange(unsigned int ifIndex, unsigned int status) = 0;
  /// Calls ParseGroup for each group under `key`. Always 1.
  virtual int ParseOptions(const OptionsNode& node, const string& name,
                           DclConfigObject::OptionType type);
  /// Destroys every object, whatever its source.
  virtual void DeleteOptions(const string& name, DclConfigObject::OptionType type);
  /// A new, empty object of the list's kind.
  virtual DclConfigObject* CreateObject(const OptionsNode& node, const string& name,
                                        DclConfigObject::OptionType type) = 0;
  /// A new object with the contents of `parsed`, to be kept in the list.
  virtual DclConfigObject* CloneObject(DclConfigObject* parsed) = 0;
  /// Commits every object with a pending change, in list order. When an object has finished it is
  /// deleted, and the walk starts again from the head.
  virtual void CommitToMib();
  /// 0 unchanged, 1 updated, 2 new. Without a match it is what the last object's Compare returned,
  /// or 2 for an empty list; ParseGroup adds an object for exactly 2.
  virtual int FindNewObjectAndUpdate(DclConfigObject* parsed);
  /// The object of one group, owned by the caller; null when the group is rejected.
  virtual DclConfigObject* ParseObjectFromOption(const OptionsNode& group, const string& name,
                                                 DclConfigObject::OptionType type);

  /// Applies one document: `node` is the router's own sub-tree, `name` the source.
  void Parse(const OptionsNode& node, const string& name, DclConfigObject::OptionType type);
  /// One group. Always 1.
  int ParseGroup(const OptionsNode& group, const string& name, DclConfigObject::OptionType type);
  /// Marks every object for destruction; the next commit sends it.
  void SetDestroy();
  /// Deletes every object without touching the stack.
  void Clear();
  /// Deletes objects of the VLAN without touching the stack. The walk skips the object after each
  /// deleted one, and restarts at the head if the last object was deleted.
  void Clear(unsigned int vlan);
  /// Suspends the VLAN's objects, or resumes and commits them.
  void Clear(unsigned int vlan, bool suspend);
  /// Displays the objects that match the filter, in list order.
  void DisplayList(DcConsole* console, const DclConfigDisplayFilter& filter) const;
  /// Visits the objects in list order; entries without an object are skipped. 1 if every object was
  /// visited, 0 if `f` is null or stopped the walk. `f` must not change the list.
  int ForEach(DclConfigListIteratorFunc* f);

 protected:
  /// The owner; outlives the list.
  DcRouterBase* router;
  /// Owned, in the order in which they were added.
  std::list<DclConfigObject*> objects;
  std::set<DclConfigObject*> unclaimed;  ///< not matched yet by the parse under way
  /// The list's name in traces; borrowed.
  const char* label;
  /// The document's member that holds its groups; borrowed.
  const char* key;
};

// Readers of row fields for the objects' ParseOption. `out` takes 4, 16 or 127 bytes.

/// True with four address bytes and length 4; false with length 0, `out` untouched, if the member
/// is absent or not an address.
VANTACORE_API bool ReadDCLMibIpAddress(const OptionsNode& node, const char* key, unsigned char* out,
                                       unsigned int& length);
/// The same for an IPv6 address: sixteen bytes, length 16.
VANTACORE_API bool ReadDCLMibIpv6Address(const OptionsNode& node, const char* key,
                                         unsigned char* out, unsigned int& length);
/// True with an integer and length 1; false, and nothing written, otherwise.
VANTACORE_API bool ReadDCLMibValue(const OptionsNode& node, const char* key, int& value,
                                   int& length);
/// The same for an unsigned integer.
VANTACORE_API bool ReadDCLMibValue(const OptionsNode& node, const char* key, unsigned int& value,
                                   int& length);
/// True with at most 127 characters, padded with zeros to 127 bytes and not terminated if there are
/// 127. An absent or empty member is the empty text, for which only the first byte is written. A
/// text that begins with ".*" is refused: false with the empty text, and traced.
VANTACORE_API bool ReadDCLMibString(const OptionsNode& node, const char* key, unsigned char* out,
                                    unsigned int& length);
/// The letter of a row status in traces: M active, C create and go, D destroy, U any other.
VANTACORE_API char DebugRowStatus(unsigned short rowStatus);

}  // namespace Tarsel

#endif
