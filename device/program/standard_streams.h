// The streams that a process begins with, as far as it was given them.
#ifndef DEVICE_PROGRAM_STANDARD_STREAMS_H
#define DEVICE_PROGRAM_STANDARD_STREAMS_H

namespace program {

/// Opens /dev/null in the place of standard input, output and error where they are missing.
/// Otherwise the next descriptor that is opened, for example a socket, takes their number and gets
/// what is printed. Call it before anything else is opened.
void OpenMissingStreams();

/// Writes out what waits for standard output. False, with a complaint in the name of `program`, when
/// something of all that was printed could not be written, for example because the disk is full.
bool FlushOutput(const char* program);

}  // namespace program

#endif
