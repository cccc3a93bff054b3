/* Marks the library's public classes and functions. Compiles as C (C89 on) and as C++. */
#ifndef VANTACORE_EXPORT_H
#define VANTACORE_EXPORT_H

/** Makes a symbol visible outside the library. */
#define VANTACORE_API __attribute__((visibility("default")))

#endif
