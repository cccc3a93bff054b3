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
///  - after SetDestroy, Compare returns 1, not 0, for an object with the same key and contents.
///    Otherwise a row that comes back into the document before the stack has answered its destroy
///    would not be sent again;
///  - neither CommitToMib nor any other operation that the list calls changes the list: they do not
///    call its Parse, ParseOptions, ParseGroup, FindNewObjectAndUpdate, CommitToMib, SetDestroy,
///    DeleteOptions or Clear.
class VANTACORE_API DclConfigObject {
 public:
  /// The kind of document that configuration comes from. Other values are legal: a remote document
  /// of another kind.
  enum OptionType : int { VLAN_OPTIONS = 0, REMOTE_OPTIONS = 1 };

  /// An object of the router, which must outlive it. VLAN and id are 0 until the list and ParseId
  /// set them. The row is not in the stack, and the object waits for its first commit.
  explicit DclConfigObject(DcRouterBase& router);
  /// Takes vlan, id and router from `other` and leaves the rest at its defaults.
  explicit DclConfigObject(const DclConfigObject* other);
  DclConfigObject(const DclConfigObject&) = delete;
  DclConfigObject& operator=(const DclConfigObject&) = delete;
  virtual ~DclConfigObject();

  /// Whether the other object has the same VLAN and id. For Compare; no list calls it.
  virtual bool KeyMatch(DclConfigObject* other) const;
  /// One trace line, level 5.
  virtual void DebugDump(const char* label);
  /// Returns 0 if the other object has the same key and contents, 1 if it has the same key and
  /// other contents, 2 if it is another object.
  virtual int Compare(DclConfigObject* other) = 0;
  /// Takes over the other's contents; the key stays.
  virtual void Update(DclConfigObject* other) = 0;
  /// The row status about to be written, for display.
  virtual unsigned short GetRowStatus() = 0;
  /// Marks the object: its next commit asks the stack to remove the row.
  virtual void SetDestroy() = 0;
  /// Prints the object; the console stays the caller's. `id` is that of the display filter, 0 for
  /// any object.
  virtual void Display(DcConsole* console, unsigned int id) = 0;
  /// Sends the pending change. Returns true if the object is finished; the list's CommitToMib then
  /// deletes it.
  virtual bool CommitToMib() = 0;
  /// Fills the object from one group of the document. Returns false to reject the group.
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
  /// The router's VLAN once the list has set it, 0 before.
  unsigned short GetVlan() const { return vlan; }
  /// The object's number within its table.
  unsigned int GetId() const { return id; }
  /// The source that the object came from.
  const string& GetName() const { return name; }
  /// The kind of that source.
  OptionType GetType() const { return type; }
  /// The router that owns the object's list.
  DcRouterBase& GetRouter() const { return router; }

  /// Returns the decimal number right after the n-th '_' of `name`, cut to 16 bits; 0 if there are
  /// fewer, or if `name` is null.
  static unsigned short ParseKeyFromName(const char* name, int n);
  /// Returns the id in an object name, and stores it as the object's id: the number after the
  /// second '_', as 3 in OSPF_12_3_1_0 (protocol, VLAN, id, number, second index).
  unsigned short ParseId(const char* name);
  /// Returns the number in an object name: the one after the third '_', as 1 in that example.
  static unsigned short ParseNumber(const char* name);
  /// Returns the second index in an object name: the number after the fourth '_', as 0 in that
  /// example.
  static unsigned short ParseSecondIndex(const char* name);

  /// Reads an address family into `afi`: the member's value 1 gives 2 (IPv6); any other value, or
  /// no member, gives 1 (IPv4). Returns whether the member could be read. A null `key` is reported
  /// as an assertion and read as absent.
  static int ParseAfiOption(const OptionsNode& node, int& afi, const char* key);
  /// Reads a subsequent address family into `safi`: the member's value 0 gives 3, 1 gives 128, 2
  /// gives 2 (multicast); any other value, or no member, gives 1 (unicast). Otherwise like
  /// ParseAfiOption.
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

/// Visits objects.
class VANTACORE_API DclConfigListIteratorFunc {
 public:
  virtual ~DclConfigListIteratorFunc();
  /// Called with one object of the list, which stays the list's and must not be deleted. Returns
  /// false to stop the iteration.
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

  /// Whether an object with this VLAN and id has its row in the stack.
  virtual bool CheckInMib(unsigned short vlan, unsigned int id) const;
  /// An interface of the router has changed its status.
  virtual void ProcessInterfaceStatusChange(unsigned int ifIndex, unsigned int status) = 0;
  /// Calls ParseGroup for each group under `key`. Returns 1.
  virtual int ParseOptions(const OptionsNode& node, const string& name,
                           DclConfigObject::OptionType type);
  /// Marks every object for destruction and commits, so that the rows are removed from the stack.
  /// Both arguments are ignored. (DcRouterBase::DeleteOptions does not call it.)
  virtual void DeleteOptions(const string& name, DclConfigObject::OptionType type);
  /// Returns a new, empty object of the list's kind, owned by the caller; null if memory is short.
  virtual DclConfigObject* CreateObject(const OptionsNode& node, const string& name,
                                        DclConfigObject::OptionType type) = 0;
  /// Returns a new object with the contents of `parsed`, which the list will own; null if memory is
  /// short.
  virtual DclConfigObject* CloneObject(DclConfigObject* parsed) = 0;
  /// Commits every object with a pending change, in list order. When an object has finished, it is
  /// deleted, and the iteration starts again at the head.
  virtual void CommitToMib();
  /// Looks for the object that `parsed` matches and updates it if the contents differ. Returns 0 if
  /// it is unchanged, 1 if it has been updated. If no object matches, it returns what the last
  /// Compare returned, or 2 if the list is empty; ParseGroup adds an object only if the result is
  /// exactly 2.
  virtual int FindNewObjectAndUpdate(DclConfigObject* parsed);
  /// Returns the object of one group, owned by the caller; null if the group is rejected or memory
  /// is short.
  virtual DclConfigObject* ParseObjectFromOption(const OptionsNode& group, const string& name,
                                                 DclConfigObject::OptionType type);

  /// Applies one document: `node` is the router's own member of the VLAN entry, `name` the source.
  /// Objects that the document does not name any more are marked for destruction; then all changes
  /// are committed.
  void Parse(const OptionsNode& node, const string& name, DclConfigObject::OptionType type);
  /// Applies one group: updates its object or adds one. Returns 1.
  int ParseGroup(const OptionsNode& group, const string& name, DclConfigObject::OptionType type);
  /// Marks every object for destruction; the next commit sends it.
  void SetDestroy();
  /// Deletes every object without touching the stack.
  void Clear();
  /// Deletes objects of the VLAN without touching the stack. Beware: after each deletion it skips
  /// the following object, so some objects of the VLAN may stay. If it deletes the last object of
  /// the list, it starts again at the head.
  void Clear(unsigned int vlan);
  /// Suspends the VLAN's objects, or resumes and commits them. An object that reports itself
  /// finished here stays in the list until a later commit.
  void Clear(unsigned int vlan, bool suspend);
  /// Displays the objects that match the filter, in list order.
  void DisplayList(DcConsole* console, const DclConfigDisplayFilter& filter) const;
  /// Visits the objects in list order; entries without an object are skipped. Returns 1 if every
  /// object was visited, 0 if `f` is null or stopped the iteration. `f` must not change the list.
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

/// Writes four address bytes and length 4 and returns true. If the member is absent or not an
/// address, it sets the length to 0, leaves `out` untouched and returns false.
VANTACORE_API bool ReadDCLMibIpAddress(const OptionsNode& node, const char* key, unsigned char* out,
                                       unsigned int& length);
/// The same for an IPv6 address: sixteen bytes, length 16.
VANTACORE_API bool ReadDCLMibIpv6Address(const OptionsNode& node, const char* key,
                                         unsigned char* out, unsigned int& length);
/// Writes an integer and length 1 and returns true. If the member is absent or not an integer that
/// fits, it writes nothing and returns false.
VANTACORE_API bool ReadDCLMibValue(const OptionsNode& node, const char* key, int& value,
                                   int& length);
/// The same for an unsigned integer.
VANTACORE_API bool ReadDCLMibValue(const OptionsNode& node, const char* key, unsigned int& value,
                                   int& length);
/// Writes at most 127 characters and their count and returns true. They are padded with zeros to
/// 127 bytes, and not terminated if all 127 are used. An absent or empty member is the empty text,
/// for which only the first byte is written. A text that begins with ".*" is refused: it writes the
/// empty text, traces the refusal and returns false.
VANTACORE_API bool ReadDCLMibString(const OptionsNode& node, const char* key, unsigned char* out,
                                    unsigned int& length);
/// The letter of a row status in traces: M active, C create and go, D destroy, U any other.
VANTACORE_API char DebugRowStatus(unsigned short rowStatus);

}  // namespace Tarsel

#endif
