#pragma once

namespace varemo {

struct CommandLine;

// The "migrar" command: copies the installation's company into an empty database of a
// PostgreSQL server, or back into a new file, then prints each table's rows and sums as
// checked on both sides. Messages go to stderr; the process's exit status.
int runMigration(const CommandLine& line, int argc, char** argv);

} // namespace varemo
