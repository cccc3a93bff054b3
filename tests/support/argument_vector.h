// Words as main() gets them.
#ifndef TESTS_SUPPORT_ARGUMENT_VECTOR_H
#define TESTS_SUPPORT_ARGUMENT_VECTOR_H

#include <string>
#include <utility>
#include <vector>

namespace test_support {

/// Writable words with a null pointer after the last one; they live as long as this does.
class ArgumentVector {
 public:
  explicit ArgumentVector(std::vector<std::string> words) : m_words(std::move(words)) {
    for (std::string& word : m_words) {
      m_pointers.push_back(word.data());
    }
    m_pointers.push_back(nullptr);
  }
  ArgumentVector(const ArgumentVector&) = delete;
  ArgumentVector& operator=(const ArgumentVector&) = delete;

  int GetCount() const { return static_cast<int>(m_words.size()); }
  char** GetPointers() { return m_pointers.data(); }

 private:
  std::vector<std::string> m_words;
  std::vector<char*> m_pointers;
};

}  // namespace test_support

#endif
