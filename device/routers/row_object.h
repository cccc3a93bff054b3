// Configuration objects that are rows of the stack, and the lists that hold them.
#ifndef DEVICE_ROUTERS_ROW_OBJECT_H
#define DEVICE_ROUTERS_ROW_OBJECT_H

#include <memory>
#include <new>
#include <string>

#include "group_reader.h"
#include "protocol_tables.h"
#include "vantacore/dc_router_base.h"
#include "vantacore/dc_rtm_mgr.h"
#include "vantacore/dcl_config_object.h"
#include "wanted_row.h"

namespace routers {

/// What all rows have in common: when they are requested. A temporary object of a parse is never
/// committed, so it never has a row.
class RowObject : public Tarsel::DclConfigObject, private WantedRow::Owner {
 public:
  RowObject(Tarsel::DcRouterBase& owner, Tarsel::DCLConfigList& list);
  explicit RowObject(const RowObject* parsed);
  ~RowObject() override;

  int Compare(Tarsel::DclConfigObject* other) override;
  void Update(Tarsel::DclConfigObject* other) override;
  unsigned short GetRowStatus() override;
  void SetDestroy() override;
  void Display(Tarsel::DcConsole* console, unsigned int id) override;
  bool CommitToMib() override;

  /// Returns the row's state as a text for an operator.
  Tarsel::string Describe() const;
  /// The table and the instance of the object's row, and its key.
  virtual RowName GetRowName() const = 0;

 protected:
  virtual bool HasContentsOf(const Tarsel::DclConfigObject& other) const = 0;
  virtual void TakeContentsOf(const Tarsel::DclConfigObject& other) = 0;
  virtual const char* GetLabel() const = 0;
  virtual Tarsel::string GetContents() const = 0;
  virtual bool IsUp() const = 0;
  /// The row has come to the stack with the present contents.
  virtual void Entered() {}
  /// The row has left the stack, or is about to be written with other contents.
  virtual void Left() {}

 private:
  void RowChanged() override;
  Tarsel::DCLConfigList& RowDue() override;
  void Leave();

  Tarsel::DCLConfigList& m_list;
  std::shared_ptr<WantedRow> m_row;  // from the first commit on
  bool m_destroy;
  bool m_entered;
};

/// One line about a row, as all protocols print it.
void PrintRow(Tarsel::DcConsole* console, const char* label, const std::string& key,
              const Tarsel::string& state, const Tarsel::string& contents);

/// A row whose columns are a value class. That class supplies
///   LIST, MEMBER                the list's name in traces, and its member of the document
///   Columns(ipProto)            the defaults
///   enabled                     whether the row is administratively up
///   Read(reader)                reads the columns from a group whose name has been read
///   IsSameRow(other)            whether the part of the key that is not in the id is the same
///   operator==                  whether the contents are the same
///   GetKey(id), GetContents()   the row's key and contents as texts
///   GetIpProto()                the family whose instance has the row
///   Enter(router, id), Leave(router, id)   the row has come to the stack, or goes
template <class Columns>
class ConfigRow : public RowObject {
 public:
  ConfigRow(Tarsel::DcRouterBase& owner, Tarsel::DCLConfigList& list, const ProtocolTable& table)
      : RowObject(owner, list), m_table(table), m_columns(table.ipProto) {}
  explicit ConfigRow(const ConfigRow* parsed)
      : RowObject(parsed), m_table(parsed->m_table), m_columns(parsed->m_columns) {}

  bool KeyMatch(Tarsel::DclConfigObject* other) const override {
    return Tarsel::DclConfigObject::KeyMatch(other) && m_columns.IsSameRow(Of(*other));
  }

  bool ParseOption(const Tarsel::OptionsNode& node, unsigned short vid) override {
    GroupReader reader(node, name, router.GetDisplayName());
    if (!reader.ReadName(*m_table.name, vid)) {
      return false;
    }
    ParseId(reader.GetName());
    m_columns.Read(reader);
    return reader.IsGood();
  }

  RowName GetRowName() const override {
    return {m_table.number,
            Tarsel::DcRtmMgr::GetDclProtocolInstanceIdFromVlan(vlan, m_columns.GetIpProto()),
            m_columns.GetKey(id)};
  }

  const Columns& GetColumns() const { return m_columns; }

 protected:
  bool HasContentsOf(const Tarsel::DclConfigObject& other) const override {
    return m_columns == Of(other);
  }
  void TakeContentsOf(const Tarsel::DclConfigObject& other) override { m_columns = Of(other); }
  const char* GetLabel() const override { return m_table.label; }
  Tarsel::string GetContents() const override { return m_columns.GetContents(); }
  bool IsUp() const override { return m_columns.enabled; }
  void Entered() override { m_columns.Enter(router, id); }
  void Left() override { m_columns.Leave(router, id); }

 private:
  // A list only ever compares objects of its own kind.
  static const Columns& Of(const Tarsel::DclConfigObject& other) {
    return static_cast<const ConfigRow&>(other).m_columns;
  }

  const ProtocolTable& m_table;
  Columns m_columns;
};

/// The rows of one table that one document configures.
template <class Columns>
class ConfigRowList : public Tarsel::DCLConfigList {
 public:
  ConfigRowList(Tarsel::DcRouterBase& owner, const ProtocolTable& table)
      : DCLConfigList(&owner, Columns::LIST, Columns::MEMBER), m_table(table) {}

  /// Does nothing: rows stay as the document says, whatever the state of the interface.
  void ProcessInterfaceStatusChange(unsigned int, unsigned int) override {}

  Tarsel::DclConfigObject* CreateObject(const Tarsel::OptionsNode&, const Tarsel::string&,
                                        Tarsel::DclConfigObject::OptionType) override {
    return new (std::nothrow) ConfigRow<Columns>(*router, *this, m_table);
  }

  Tarsel::DclConfigObject* CloneObject(Tarsel::DclConfigObject* parsed) override {
    return new (std::nothrow) ConfigRow<Columns>(static_cast<ConfigRow<Columns>*>(parsed));
  }

 private:
  const ProtocolTable& m_table;
};

}  // namespace routers

#endif
