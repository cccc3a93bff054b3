// A ring of objects that carry their own links: a member is removed in constant time, without
// knowing its ring.
#ifndef DEVICE_STACK_LINK_H
#define DEVICE_STACK_LINK_H

namespace routing_stack {

/// A member of at most one ring, or a ring's head. Objects that are linked derive from it.
class Link {
 public:
  Link() = default;
  Link(const Link&) = delete;
  Link& operator=(const Link&) = delete;
  ~Link() { Unlink(); }

  bool IsAlone() const { return m_next == this; }

  void Unlink() {
    m_previous->m_next = m_next;
    m_next->m_previous = m_previous;
    m_previous = m_next = this;
  }

  // The rest is for heads.

  Link* Front() { return m_next; }

  void PushBack(Link& link) {
    link.Unlink();
    link.m_previous = m_previous;
    link.m_next = this;
    m_previous->m_next = &link;
    m_previous = &link;
  }

  /// Moves all members of another ring to the end of this one.
  void TakeAll(Link& other) {
    if (other.IsAlone()) {
      return;
    }
    m_previous->m_next = other.m_next;
    other.m_next->m_previous = m_previous;
    other.m_previous->m_next = this;
    m_previous = other.m_previous;
    other.m_previous = other.m_next = &other;
  }

 private:
  Link* m_previous = this;
  Link* m_next = this;
};

}  // namespace routing_stack

#endif
