// What a document wants of one row of a protocol's table in the stack, from its first request to
// its end.
#ifndef DEVICE_ROUTERS_WANTED_ROW_H
#define DEVICE_ROUTERS_WANTED_ROW_H

#include <memory>
#include <string>

#include "row_name.h"
#include "row_upkeep.h"
#include "vantacore/dcl_config_object.h"

namespace routers {

/// The stack's row status and administrative status.
enum RowStatus : unsigned short { ROW_ACTIVE = 1, ROW_CREATE = 4, ROW_DESTROY = 6 };
enum AdminStatus : int { ADMIN_UP = 1, ADMIN_DOWN = 2 };
/// What the stack answers.
enum AnswerStatus : unsigned int { ANSWER_DONE = 1, ANSWER_RETRY = 5, ANSWER_ABSENT = 6 };

/// The document that configures a row. If several configure the same row, the greatest counts:
/// remote documents before the VLAN document, and the last by name among documents of one kind.
struct SourceRank {
  Tarsel::DclConfigObject::OptionType type = Tarsel::DclConfigObject::VLAN_OPTIONS;
  Tarsel::string name;
};
bool operator<(const SourceRank& a, const SourceRank& b);

/// What one document wants of one row, and how far that has come. It hands requests to the
/// serializer and hears their outcomes through the row registry, which finds it by its name as long
/// as it lives. When it is destroyed, the row in the stack stays as it is, and answers that come
/// later are ignored.
class WantedRow : public std::enable_shared_from_this<WantedRow> {
 public:
  /// The object that configures the row. Neither operation may delete it.
  class Owner {
   public:
    /// An answer has come; IsInStack may have changed.
    virtual void RowChanged() = 0;
    /// Write has to be called again, or Remove, which now tells whether the row has gone. Returns
    /// the list that has to be committed for that.
    virtual Tarsel::DCLConfigList& RowDue() = 0;

   protected:
    ~Owner() = default;
  };

  WantedRow(Owner& owner, RowName name, SourceRank rank);
  WantedRow(const WantedRow&) = delete;
  WantedRow& operator=(const WantedRow&) = delete;
  ~WantedRow();

  /// Asks the stack for the row with these contents, unless a document of higher rank wants the
  /// row.
  void Write(AdminStatus adminStatus, const Tarsel::string& contents);
  /// Asks the stack to remove the row, unless another document still wants it or the stack has been
  /// asked already. Returns true if there is nothing left to wait for.
  bool Remove();
  /// The stack does not have what is wanted, and has no request for it any more. Makes the row due,
  /// and forgets earlier requests.
  void AskAgain();
  /// What is wanted has changed, so earlier refusals do not count any more.
  void Renew() { m_refusals = 0; }

  const RowName& GetName() const { return m_name; }
  const SourceRank& GetRank() const { return m_rank; }
  bool IsInStack() const { return m_inStack; }
  bool IsRemoving() const { return m_removing; }
  RowStanding Look() const;
  RowStanding::Request GetRequest() const;
  /// Whether the stack has the row, or may have it when all requests have been answered.
  bool MayBeInStack() const { return m_inStack || m_phase == ASKED; }
  /// For an operator: "active", "pending", "refused (status 3)", ...
  Tarsel::string Describe() const;

 private:
  friend class RowRegistry;

  enum Phase {
    IDLE,     // nothing is under way
    ASKED,    // the latest request has no answer yet
    WAITING,  // refused for now; to be asked again
    REFUSED   // refused for good
  };

  void InheritFrom(const WantedRow& other);
  void Ask(int rowStatus, int adminStatus, const Tarsel::string& contents);
  void Answered(unsigned int sequence, int rowStatus, unsigned int status);
  void Judge(bool done, unsigned int status);
  void SetPhase(Phase phase);
  void SetDue(bool isDue);
  RowStanding::Contents CompareWithStack() const;
  Tarsel::string DescribePresence() const;

  Owner& m_owner;
  const RowName m_name;
  const SourceRank m_rank;
  Phase m_phase;
  bool m_inStack;
  bool m_removing;
  bool m_isDue;               // waits for its turn in the registry
  int m_askedStatus;          // row status of the latest request
  unsigned int m_sequence;    // number of the latest request
  unsigned int m_status;      // of the latest answer
  unsigned int m_refusals;    // in a row
  AdminStatus m_adminStatus;  // that is wanted
  Tarsel::string m_contents;  // so too
};

/// Whether the stack has the row, whoever has asked for it.
bool IsRowInStack(const RowName& name);
/// Asks the stack to remove a row that no document has an object for. Its answer goes to the
/// registry.
void RequestRemoval(const RowName& name);

}  // namespace routers

#endif
