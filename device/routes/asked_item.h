// Items of the host's own in the library's scheduler. They hear their answers.
#ifndef DEVICE_ROUTES_ASKED_ITEM_H
#define DEVICE_ROUTES_ASKED_ITEM_H

#include <cstdint>

#include "device/rows/stack_port.h"
#include "vantacore/cfg_sched.h"

namespace routes {

/// The numbers of a request and of its answer.
constexpr int ROW_ACTIVE = 1;
constexpr int ROW_DESTROY = 6;
constexpr int ADMIN_UP = 1;
constexpr int ADMIN_DOWN = 2;
constexpr unsigned int STATUS_SUCCESS = 1;

/// What becomes of a request.
enum class ItemNews {
  /// The stack has done it. The item is deleted after this.
  DONE,
  /// Another answer. RETRIED follows in the same call of the scheduler if the item is to be sent
  /// again. If not, the item has been given up. It stays where it is, without further news, until
  /// another item of its row takes its place.
  REFUSED,
  /// The item is to be sent again: after an answer, or because the scheduler has been reset.
  RETRIED,
  /// The item is being deleted, and has not been done: the scheduler has dropped it, or another
  /// item of its row has taken its place.
  DROPPED
};

/// Hears of the items that were made for its records.
template <class Record>
class ItemListener {
 public:
  /// `status` is the stack's answer; 0 for RETRIED and DROPPED. Comes from inside the stack's or
  /// the scheduler's run, so it may only note what it hears.
  virtual void Hear(Record& record, ItemNews news, unsigned int status) = 0;

 protected:
  ~ItemListener() = default;
};

/// A library's item (`Item`) that tells a listener what becomes of it. The scheduler owns it, like
/// any item, and may outlive the listener: whoever made the item calls Leave before the listener or
/// the record or the port ends. After DONE and DROPPED the item is gone.
///
/// An item rests for REST_MILLISECONDS after an answer that asks for another try, however short the
/// scheduler's period is: so ten tries last a second, which is what a stack that is busy may need.
/// That is a little less than the period of 100 ms that the scheduler has by default, so that an
/// item is sent again in the next of its passes. Meanwhile it keeps a pass from the items after it
/// in its bucket. Otherwise each pass would look at the resting items, and at few others: it looks
/// at 31.
template <class Item, class Record>
class AskedItem : public Item {
 public:
  static constexpr std::uint64_t REST_MILLISECONDS = 95;

  /// Everything except the item's own values is borrowed.
  template <class... Values>
  AskedItem(ItemListener<Record>& listener, Record& record, const rows::StackPort& port,
            Values... values)
      : Item(values...), m_listener(listener), m_port(port), m_record(&record) {}
  ~AskedItem() override { Tell(ItemNews::DROPPED, 0); }

  /// Nobody wants the item any more: there are no further news. If it is New, or becomes so, the
  /// scheduler's next pass drops it. One that is Issued stays until its answer comes or another
  /// item of its row takes its place.
  void Leave() { m_record = nullptr; }

  bool CfgListReady() override { return !m_record || (!IsResting() && Item::CfgListReady()); }
  bool CfgItemReady() override { return m_record && Item::CfgItemReady(); }
  bool RemoveOnNotReady() const override { return !m_record || Item::RemoveOnNotReady(); }

  /// An answer that comes before the item has been sent is not its own, but one that was given
  /// twice.
  void SetInMib(bool inMib, unsigned int status) override {
    Item::SetInMib(inMib, status);
    if (this->GetActionState() == Tarsel::CfgItem::ISSUED) {
      Tell(ItemNews::DONE, status);
      Leave();
    }
  }
  void SetActionState(Tarsel::CfgItem::ACTION_ITEM_STATE state) override {
    Item::SetActionState(state);
    if (state == Tarsel::CfgItem::NEW && m_record) {
      m_restUntil = this->GetReasonCode() != 0 ? m_port.Now() + REST_MILLISECONDS : 0;
      Tell(ItemNews::RETRIED, 0);
    }
  }
  /// The scheduler's reset stores 0.
  void SetReasonCode(unsigned long code) override {
    Item::SetReasonCode(code);
    if (code != 0) {
      Tell(ItemNews::REFUSED, static_cast<unsigned int>(code));
    }
  }

 protected:
  bool IsLeft() const { return !m_record; }
  bool IsResting() const {
    return m_restUntil != 0 && this->GetActionState() == Tarsel::CfgItem::NEW &&
           m_port.Now() < m_restUntil;
  }

 private:
  void Tell(ItemNews news, unsigned int status) {
    if (m_record) {
      m_listener.Hear(*m_record, news, status);
    }
  }

  ItemListener<Record>& m_listener;
  const rows::StackPort& m_port;
  Record* m_record;  // null once it has been left
  std::uint64_t m_restUntil = 0;
};

}  // namespace routes

#endif
