// How the host's readers complain.
#ifndef DEVICE_HOST_REPORT_H
#define DEVICE_HOST_REPORT_H

#include <cstddef>
#include <functional>
#include <string>

namespace host {

/// Takes one line, without its end, about input that cannot be used: where it stands, what was
/// expected there and what was found. Readers report and go on with the rest.
using Report = std::function<void(const std::string& line)>;

/// A place in a document: the file and the path of a member.
class Place {
 public:
  explicit Place(std::string file) : m_file(std::move(file)) {}

  Place Member(const std::string& name) const;
  Place Element(std::size_t index) const;
  /// "FILE: PATH", or "FILE" for the document itself.
  std::string Text() const { return m_path.empty() ? m_file : m_file + ": " + m_path; }

 private:
  std::string m_file;
  std::string m_path;
};

}  // namespace host

#endif
