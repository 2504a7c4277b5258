#pragma once

namespace varemo {

struct CommandLine;

// Writes the report a "relatorio" command line asks for, with no window and no message box:
// everything the person should read goes to stderr. The process's exit status.
int runReport(const CommandLine& line, int argc, char** argv);

} // namespace varemo
