#pragma once

#include "CommandLine.h"

#include <QTextStream>

namespace qf {
class Quillfen_AppDelegate;
}

namespace qf::cli {

// import-ofx FILE [--account ID|TITLE]: every transaction of the bank
// statement (.ofx or .qfx, either form) becomes a transaction, in the
// account or the library; prints how many. A file that cannot be read stores
// nothing. Returns an ExitCode.
int importOfxCommand(Quillfen_AppDelegate& delegate, const CommandLine& line, QTextStream& out, QTextStream& err);

} // namespace qf::cli
