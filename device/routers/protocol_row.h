// One row of a protocol's table in the stack, from its first request to its end.
#ifndef DEVICE_ROUTERS_PROTOCOL_ROW_H
#define DEVICE_ROUTERS_PROTOCOL_ROW_H

#include <memory>
#include <string>

#include "vantacore/dcl_config_object.h"

namespace Tarsel {

/// The stack's row status and administrative status.
enum RowStatus : unsigned short { ROW_ACTIVE = 1, ROW_CREATE = 4, ROW_DESTROY = 6 };
enum AdminStatus : int { ADMIN_UP = 1, ADMIN_DOWN = 2 };

/// Names a row: its table, the protocol instance and the key within the table.
struct RowName {
  unsigned int table = 0;
  unsigned int instance = 0;
  std::string key;
};
bool operator<(const RowName& a, const RowName& b);

/// The document that configures a row. When several configure the same one the greatest counts:
/// remote documents before the VLAN document, and among documents of a kind the last by name.
struct SourceRank {
  DclConfigObject::OptionType type = DclConfigObject::VLAN_OPTIONS;
  string name;
};
bool operator<(const SourceRank& a, const SourceRank& b);

/// What one document wants of one row, and how far that has come. It hands requests to the serializer
/// and hears their outcomes through the row registry, which finds it by its name as long as it
/// lives. When it goes the row stays where it is, and answers that are still under way find nobody.
class ProtocolRow : public std::enable_shared_from_this<ProtocolRow> {
 public:
  /// Who configures the row. Neither operation may delete the owner.
  class Owner {
   public:
    /// An answer came; IsInStack may have changed.
    virtual void RowChanged() = 0;
    /// There is something to do: to call Write again, or Remove, which now tells whether the row has
    /// gone. Answers the list that has to be committed for that.
    virtual DCLConfigList& RowDue() = 0;

   protected:
    ~Owner() = default;
  };

  ProtocolRow(Owner& owner, RowName name, SourceRank rank);
  ProtocolRow(const ProtocolRow&) = delete;
  ProtocolRow& operator=(const ProtocolRow&) = delete;
  ~ProtocolRow();

  /// Asks the stack for the row with these contents, unless a document that counts for more wants it
  /// with its own.
  void Write(AdminStatus adminStatus, const string& contents);
  /// Asks the stack to drop the row, unless another document still wants it or that has been asked
  /// already. True when there is nothing left to wait for.
  bool Remove();
  /// What is wanted has changed, so earlier refusals no longer count.
  void Renew() { m_refusals = 0; }

  const RowName& GetName() const { return m_name; }
  const SourceRank& GetRank() const { return m_rank; }
  bool IsInStack() const { return m_inStack; }
  bool IsRemoving() const { return m_removing; }
  /// For an operator: "active", "pending", "refused (status 3)", ...
  string Describe() const;

 private:
  friend class RowRegistry;

  enum Phase {
    SETTLED,  // nothing is under way
    ASKED,    // the latest request has no answer yet
    WAITING,  // refused for now; to be asked again
    REFUSED   // refused for good
  };

  void InheritFrom(const ProtocolRow& other);
  void Ask(int rowStatus, int adminStatus, const string& contents);
  void Answered(unsigned int sequence, int rowStatus, unsigned int status);
  void Judge(bool done, unsigned int status);
  string DescribePresence() const;

  Owner& m_owner;
  const RowName m_name;
  const SourceRank m_rank;
  Phase m_phase;
  bool m_inStack;
  bool m_removing;
  bool m_isDue;             // waits for its turn in the registry
  int m_askedStatus;        // row status of the latest request
  unsigned int m_sequence;  // number of the latest request
  unsigned int m_status;    // the stack's latest word on it
  unsigned int m_refusals;  // in a row
};

}  // namespace Tarsel

#endif
