/// The program's two ways to print a line.
#pragma once

namespace Kestrel {

/// Writes the text and an end of line to standard output.
void printLine(const char* text);

/// Writes an error text as one line to standard output, through the wide stream. A byte that the
/// stream could not print, or that would end the line, is shown as '?'.
void printError(const char* text);

/// Prints the error and returns the status of a run that failed: -1.
int fail(const char* error);

}  // namespace Kestrel
