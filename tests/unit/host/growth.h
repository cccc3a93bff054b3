// How the work for many things compares to the work for few.
#ifndef TESTS_UNIT_HOST_GROWTH_H
#define TESTS_UNIT_HOST_GROWTH_H

#include <algorithm>
#include <ctime>

/// How many times the processor time of `few` does `many` take, the best of three runs each. For four
/// times as much to do that is about four; sixteen where each thing is compared with each other.
template <class Few, class Many>
double Growth(Few few, Many many) {
  const auto best = [](auto action) {
    double least = 1e9;
    for (int i = 0; i < 3; ++i) {
      const std::clock_t begin = std::clock();
      action();
      least = std::min(least, static_cast<double>(std::clock() - begin));
    }
    return std::max(least, 1.0);
  };
  const double base = best(few);
  return best(many) / base;
}

constexpr double QUADRATIC = 9;  // for four times as much to do

#endif
