// Marks the library's public classes and functions.
#ifndef VANTACORE_EXPORT_H
#define VANTACORE_EXPORT_H

/// Visible outside of the library.
#define VANTACORE_API __attribute__((visibility("default")))

#endif
