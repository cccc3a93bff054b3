/* Marks the library's public classes and functions. For C89, C and C++. */
#ifndef VANTACORE_EXPORT_H
#define VANTACORE_EXPORT_H

/** Visible outside of the library. */
#define VANTACORE_API __attribute__((visibility("default")))

#endif
