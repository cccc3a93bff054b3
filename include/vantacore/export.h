/* Marks the library's public classes and functions. Compiles as C and as C++.
 *
 * C89 is enough, so that the headers of other libraries may include this one. */
#ifndef VANTACORE_EXPORT_H
#define VANTACORE_EXPORT_H

/** Makes a symbol visible outside the library. */
#define VANTACORE_API __attribute__((visibility("default")))

#endif
