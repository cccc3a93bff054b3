// Several devices in one test: each lives in a process of its own and hands back a text.
#ifndef TESTS_SUPPORT_FORKED_TEXT_H
#define TESTS_SUPPORT_FORKED_TEXT_H

#include <functional>
#include <string>

namespace test_support {

/// Runs `make` in a forked child and returns the text that it made. A child that does not end well,
/// or not within `seconds`, is answered with the reason, which begins with "child ". The caller
/// must not have touched the library's singletons.
std::string TextOfChild(const std::function<std::string()>& make, unsigned int seconds = 60);

}  // namespace test_support

#endif
