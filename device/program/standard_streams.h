// The standard streams of a process, some of which may be missing.
#ifndef DEVICE_PROGRAM_STANDARD_STREAMS_H
#define DEVICE_PROGRAM_STANDARD_STREAMS_H

namespace program {

/// Opens /dev/null for each of standard input, output and error that is missing. Otherwise the next
/// descriptor that is opened, for example a socket, takes its number and receives what is printed.
/// Call it before anything else is opened.
void OpenMissingStreams();

/// A file that would become too large for the limits of the process is an error of that write from now
/// on, and not the end of the process.
void SurviveFullFiles();

/// Writes out what standard output has buffered. Returns false if anything that the process has printed
/// could not be written.
bool FlushOutput();

/// The same for a process that ends now. If anything that the process has printed could not
/// be written, for example because the disk is full, it says so on standard error in the name of
/// `program` and returns false.
bool FlushOutput(const char* program);

}  // namespace program

#endif
