// The exit statuses of this device's programs. Scripts rely on the numbers.
#ifndef DEVICE_PROGRAM_EXIT_STATUS_H
#define DEVICE_PROGRAM_EXIT_STATUS_H

namespace program {

constexpr int EXIT_DONE = 0;     // everything that was asked for
constexpr int EXIT_FAILED = 1;   // understood, and could not be done
constexpr int EXIT_USAGE = 2;    // an option or a word that nobody understands
constexpr int EXIT_DIFFERS = 5;  // done, but the stack does not have all of it

}  // namespace program

#endif
