// What a question is answered with.
#ifndef DEVICE_VIEWS_VIEW_H
#define DEVICE_VIEWS_VIEW_H

#include <functional>
#include <string>
#include <utility>

namespace views {

enum class Format { TEXT, JSON };

/// An answer that is written in pieces, as its reader takes them, so that neither its size nor a
/// slow reader costs memory or a long turn of the loop. The session that shows it owns it and
/// destroys it when it is over or nobody reads it any more. Everything is called on the loop's
/// thread.
///
/// In JSON all pieces together are one valid document that ends with a line feed, whatever happens
/// between two pieces; a stream (Rest::LATER without end) has a document on each line.
class View {
 public:
  enum class Rest {
    MORE,   // ask for the next piece when there is room
    LATER,  // there is nothing now; the function given to CallWhenMore tells when
    NONE    // it is over
  };

  View() = default;
  View(const View&) = delete;
  View& operator=(const View&) = delete;
  virtual ~View() = default;

  /// Appends the next piece: at most some 64 KB, and a millisecond of work.
  virtual Rest Next(std::string& text) = 0;
  /// Whether the question could not be answered, for example about a VLAN that is not there; the
  /// text says why. Counts when it is over.
  virtual bool IsRefused() const { return false; }
  /// `wake` is called from the loop, once for each Next that returned LATER, when there is more. It
  /// may destroy the view.
  void CallWhenMore(std::function<void()> wake) { m_wake = std::move(wake); }

 protected:
  /// For a view that has returned LATER.
  void Wake() const {
    if (const std::function<void()> wake = m_wake) {
      wake();
    }
  }

 private:
  std::function<void()> m_wake;
};

}  // namespace views

#endif
