// The streams that a process begins with, as far as it was given them.
#ifndef DEVICE_PROGRAM_STANDARD_STREAMS_H
#define DEVICE_PROGRAM_STANDARD_STREAMS_H

namespace program {

/// Opens nothing in the place of standard input, output and error where they are missing: otherwise the
/// socket or the like that comes to stand there gets what is printed. To be called before all else.
void OpenMissingStreams();

}  // namespace program

#endif
