#pragma once

#include <QString>

namespace varemo {

struct AppState;
class ConsoleDesktop;
struct CommandLine;

// The company a command-line run works on: its program folder (the running program's own
// when none is given) opened as start-up opens it; false, the reason told on stderr, when
// it cannot be. Opening changes the current folder: make other relative names absolute first.
bool openCompanyForCommand(const QString& programFolder, AppState& state, ConsoleDesktop& desktop);

// Writes the report a "relatorio" command line asks for, with no window and no message box:
// everything the person should read goes to stderr. The process's exit status.
int runReport(const CommandLine& line, int argc, char** argv);

} // namespace varemo
