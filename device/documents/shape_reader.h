// Reads a document against its declared shape: finds what is wrong, and passes on what is right.
#ifndef DEVICE_DOCUMENTS_SHAPE_READER_H
#define DEVICE_DOCUMENTS_SHAPE_READER_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "document_findings.h"
#include "json_events.h"
#include "member_value.h"
#include "members.h"
#include "name_set.h"

namespace documents {

/// How an object has ended.
struct Outcome {
  bool isComplete = true;   // all required members are there, with usable values
  bool isFaultless = true;  // each of its own members could be used
  bool isEmpty = false;     // it has no members and must not be so
  std::size_t offset = 0;   // where the object begins
  std::uint64_t seen = 0;   // bit n: the n-th declared member, whatever its value
};

/// Builds something of a document, of the parts that can be used. Told in the order of the text.
class ShapeVisitor {
 public:
  virtual ~ShapeVisitor() = default;

  /// An object begins: the value of the member, or an element of it if it is a list or an array.
  /// `name` is the member's name, or the object's own free name in a list; empty in an array.
  virtual void BeginObject(const Member& member, std::string_view name, std::size_t offset) = 0;
  virtual void EndObject(const Member& member, const Outcome& outcome) = 0;
  /// A list (or routes, or an array) begins.
  virtual void BeginList(const Member& member, bool isArray, std::size_t offset) = 0;
  virtual void EndList(const Member& member) = 0;
  /// Hears what is in an ANY_OBJECT, from its BeginObject to its EndObject.
  virtual JsonEvents& BeginAny(const Member& member) = 0;
  /// A value that is what its member wants. Of an array's element `member` is the array's element;
  /// of VLAN_NAMES the value's number is the VLAN and the scalar's text the interface; of VLAN_NUMBERS
  /// the VLAN is that of the value's row. Of VLANS_BY_NAME the value's number is the VLAN; ValueName
  /// tells the name.
  virtual void Take(const Member& member, const Scalar& scalar, const Value& value,
                    std::size_t offset) = 0;
};

/// The reader. The visitor is told nothing of parts that cannot be used. A member that stands twice
/// counts once, with its first value.
class ShapeReader : public JsonEvents {
 public:
  /// Everything is borrowed; `root` is the shape of the whole document, `text` its text.
  ShapeReader(std::string_view text, const Object& root, ShapeVisitor& visitor,
              DocumentFindings& findings);

  /// Whether the document is an object at all.
  bool IsUsable() const { return m_isUsable; }

  /// For visitors: the path of the object or list that is being read.
  std::string Path() const { return PathTo(m_depth - 1); }
  /// For visitors: the index of the object that is being read, if it is an array's element. Elements
  /// that cannot be used count.
  std::size_t Index() const { return m_frames[m_depth - 2].index; }
  /// For visitors: the path of the value that they take.
  std::string ValuePath() const { return PathTo(m_depth); }
  /// For visitors: the name of the value that they take, if it is in an object.
  const std::string& ValueName() const { return m_frames[m_depth - 1].name; }

  void Name(std::string_view name, std::size_t offset) override;
  void Text(std::string_view text, std::size_t offset) override;
  void Number(std::string_view digits, std::size_t offset) override;
  void Flag(bool value, std::size_t offset) override;
  void Null(std::size_t offset) override;
  void BeginObject(std::size_t offset) override;
  void EndObject() override;
  void BeginArray(std::size_t offset) override;
  void EndArray() override;

 private:
  enum class Type {
    OBJECT,   // of a shape
    NAMED,    // a list written as an object
    INDEXED,  // a list written as an array, or an array
    VLANS,    // VLAN_NAMES or VLAN_NUMBERS
    VLANS_BY_NAME,
    FREE_OBJECT,  // nobody reads what is in it
    FREE_ARRAY
  };

  /// An object or an array that has begun and not ended. There is none for a part that is skipped.
  struct Frame {
    Type type = Type::OBJECT;
    const Member* member = nullptr;  // whose value, or whose element, this is; null for the root
    const Object* object = nullptr;
    std::size_t offset = 0;
    Outcome outcome;
    bool hasUnknown = false;  // a member that nobody reads, which has been told
    // The child that is being read.
    std::string name;
    std::size_t nameOffset = 0;
    std::size_t index = 0;
    const Member* child = nullptr;  // null: of an OBJECT, one that nobody reads
    NameSet names;
    // An address of the family that another member tells.
    const Member* addressMember = nullptr;
    std::string address;
    std::size_t addressOffset = 0;
    std::uint32_t family = 0;

    bool IsObject() const { return type != Type::INDEXED && type != Type::FREE_ARRAY; }
  };

  static std::string ExpectedIn(const Frame& frame, const Member& member);
  Frame& Top() { return m_frames[m_depth - 1]; }
  void Push(Type type, const Member* member, std::size_t offset);
  void PushObject(const Member& member, std::size_t offset);
  void PushList(const Member& member, bool isArray, std::size_t offset);
  void PushAny(const Member& member, std::size_t offset);
  void PushFree(bool isArray, std::size_t offset);

  void Begin(bool isArray, std::size_t offset);
  void BeginMember(const Member& member, bool isArray, std::size_t offset);
  void TakeScalar(const Scalar& scalar, std::size_t offset);
  void TakeMember(const Member& member, const Scalar& scalar, std::size_t offset);
  void TakeOfVlan(const Member& member, const Scalar& scalar, std::size_t offset);
  void TakeVlanByName(const Member& member, const Scalar& scalar, std::size_t offset);
  const Member* NextMember(bool& isListed);
  bool SkipsValue();
  void FindMember(Frame& frame, std::string_view name);
  template <class Problem>
  void SkipNamed(Problem problem);

  void End();
  void EndShape(Frame& frame);
  void JudgeAddress(Frame& frame);
  void TellMissing(Frame& frame);
  void TellEmpty(Frame& frame);
  void TellDoubled(Frame& frame);

  bool MustTell(const Member& member, std::size_t offset);
  void Refuse(const Member& member, const char* problem, const Scalar& scalar, std::size_t offset);
  void Refuse(const Member& member, const char* problem, const std::string& expected,
              const std::string& found, std::size_t offset);
  void Tell(Severity severity, std::size_t offset, const std::string& problem);
  std::string PathTo(std::size_t depth) const;

  const std::string_view m_text;
  const Object& m_root;
  ShapeVisitor& m_visitor;
  DocumentFindings& m_findings;
  std::vector<Frame> m_frames;  // the first m_depth are in use; the rest keep their memory
  std::size_t m_depth = 0;
  std::size_t m_skipped = 0;    // how deep in a part that is not looked at
  bool m_skipsNext = false;     // the value of the name just read
  JsonEvents* m_any = nullptr;  // hears what nobody has declared
  bool m_isUsable = false;
};

}  // namespace documents

#endif
