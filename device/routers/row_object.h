// Configuration objects that are rows of the stack, and the lists that hold them.
#ifndef DEVICE_ROUTERS_ROW_OBJECT_H
#define DEVICE_ROUTERS_ROW_OBJECT_H

#include <memory>
#include <new>
#include <string>

#include "group_reader.h"
#include "protocol_row.h"
#include "protocol_tables.h"
#include "vantacore/dc_router_base.h"
#include "vantacore/dc_rtm_mgr.h"
#include "vantacore/dcl_config_object.h"

namespace Tarsel {

/// What all rows have in common: the way of their requests. A temporary object of a parse never
/// commits and so never has a row.
class RowObject : public DclConfigObject, private ProtocolRow::Owner {
 public:
  RowObject(DcRouterBase& owner, DCLConfigList& list);
  explicit RowObject(const RowObject* parsed);
  ~RowObject() override;

  int Compare(DclConfigObject* other) override;
  void Update(DclConfigObject* other) override;
  unsigned short GetRowStatus() override;
  void SetDestroy() override;
  void Display(DcConsole* console, unsigned int id) override;
  bool CommitToMib() override;

  /// The row's state, for an operator.
  string Describe() const;
  /// The table and the instance of the object's row, and its key.
  virtual RowName GetRowName() const = 0;

 protected:
  virtual bool HasContentsOf(const DclConfigObject& other) const = 0;
  virtual void TakeContentsOf(const DclConfigObject& other) = 0;
  virtual const char* GetLabel() const = 0;
  virtual string GetContents() const = 0;
  virtual bool IsUp() const = 0;
  /// The row has come to the stack with the present contents.
  virtual void Entered() {}
  /// The row has gone from the stack, or is about to be written with other contents.
  virtual void Left() {}

 private:
  void RowChanged() override;
  DCLConfigList& RowDue() override;
  void Leave();

  DCLConfigList& m_list;
  std::shared_ptr<ProtocolRow> m_row;  // from the first commit on
  bool m_destroy;
  bool m_entered;
};

/// One line about a row, as all protocols print it.
void PrintRow(DcConsole* console, const char* label, const std::string& key, const string& state,
              const string& contents);

/// A row whose columns are a value class, which supplies
///   LIST, MEMBER                the list's name in traces, and its member of the document
///   Columns(ipProto)            the defaults
///   enabled                     whether the row is administratively up
///   Read(reader)                takes the columns from a group whose name has been read
///   IsSameRow(other)            whether the part of the key is the same that the id does not tell
///   operator==                  whether the contents are the same
///   GetKey(id), GetContents()   the row's key and contents as texts
///   GetIpProto()                the family whose instance has the row
///   Enter(router, id), Leave(router, id)   the row has come to the stack, or goes
template <class Columns>
class ConfigRow : public RowObject {
 public:
  ConfigRow(DcRouterBase& owner, DCLConfigList& list, const ProtocolTable& table)
      : RowObject(owner, list), m_table(table), m_columns(table.ipProto) {}
  explicit ConfigRow(const ConfigRow* parsed)
      : RowObject(parsed), m_table(parsed->m_table), m_columns(parsed->m_columns) {}

  bool KeyMatch(DclConfigObject* other) const override {
    return DclConfigObject::KeyMatch(other) && m_columns.IsSameRow(Of(*other));
  }

  bool ParseOption(const OptionsNode& node, unsigned short vid) override {
    GroupReader reader(node, name, router.GetDisplayName());
    if (!reader.ReadName(m_table.prefix, vid)) {
      return false;
    }
    ParseId(reader.GetName());
    m_columns.Read(reader);
    return reader.IsGood();
  }

  RowName GetRowName() const override {
    return {m_table.number,
            DcRtmMgr::GetDclProtocolInstanceIdFromVlan(vlan, m_columns.GetIpProto()),
            m_columns.GetKey(id)};
  }

  const Columns& GetColumns() const { return m_columns; }

 protected:
  bool HasContentsOf(const DclConfigObject& other) const override { return m_columns == Of(other); }
  void TakeContentsOf(const DclConfigObject& other) override { m_columns = Of(other); }
  const char* GetLabel() const override { return m_table.label; }
  string GetContents() const override { return m_columns.GetContents(); }
  bool IsUp() const override { return m_columns.enabled; }
  void Entered() override { m_columns.Enter(router, id); }
  void Left() override { m_columns.Leave(router, id); }

 private:
  // A list only ever compares objects of its own kind.
  static const Columns& Of(const DclConfigObject& other) {
    return static_cast<const ConfigRow&>(other).m_columns;
  }

  const ProtocolTable& m_table;
  Columns m_columns;
};

/// The rows of one table that one document configures.
template <class Columns>
class ConfigRowList : public DCLConfigList {
 public:
  ConfigRowList(DcRouterBase& owner, const ProtocolTable& table)
      : DCLConfigList(&owner, Columns::LIST, Columns::MEMBER), m_table(table) {}

  /// Rows are configuration: they stay what the document says, whatever becomes of the interface.
  void ProcessInterfaceStatusChange(unsigned int, unsigned int) override {}

  DclConfigObject* CreateObject(const OptionsNode&, const string&,
                                DclConfigObject::OptionType) override {
    return new (std::nothrow) ConfigRow<Columns>(*router, *this, m_table);
  }

  DclConfigObject* CloneObject(DclConfigObject* parsed) override {
    return new (std::nothrow) ConfigRow<Columns>(static_cast<ConfigRow<Columns>*>(parsed));
  }

 private:
  const ProtocolTable& m_table;
};

}  // namespace Tarsel

#endif
