// Marks what the device's base library and its neighbours share across library boundaries.
#ifndef TARSEL_EXPORT_H
#define TARSEL_EXPORT_H

// Virtual tables, type information and static members must be one and the same object in every
// library of the process, so a shared class is visible whatever the build's default visibility is.
/// Visible to the other libraries of the process.
#define TARSEL_API __attribute__((visibility("default")))

#endif
