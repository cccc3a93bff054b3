// Reference-counted callbacks of two arguments.
#ifndef TARSEL_CALLBACK_H
#define TARSEL_CALLBACK_H

#include "tarsel/export.h"

namespace Tarsel {

/// A callback that several holders may share. It is created with `new` and a count of zero; each
/// holder takes a reference and releases it, and the last release deletes it. Not thread-safe.
template <class A, class B>
class TARSEL_API CallbackBuffer2 {
 public:
  CallbackBuffer2() : m_references(0) {}
  CallbackBuffer2(const CallbackBuffer2&) = delete;
  CallbackBuffer2& operator=(const CallbackBuffer2&) = delete;
  virtual ~CallbackBuffer2() = default;

  /// Calls back.
  virtual void Dispatch(A a, B b) = 0;

  /// One holder more.
  void AddReference() { ++m_references; }
  /// One holder less; with the last one the callback is deleted.
  void Release() {
    if (--m_references == 0) delete this;
  }

 private:
  int m_references;
};

/// Calls a member function of an object that is not owned and must outlive the callback's use.
template <class T, class A, class B>
class TARSEL_API MemberCallback2 : public CallbackBuffer2<A, B> {
 public:
  /// The member function.
  typedef void (T::*Member)(A, B);

  /// Borrows `object`.
  MemberCallback2(T* object, Member member) : m_object(object), m_member(member) {}
  /// Calls the member function.
  void Dispatch(A a, B b) override { (m_object->*m_member)(a, b); }

 private:
  T* m_object;
  Member m_member;
};

}  // namespace Tarsel

#endif
