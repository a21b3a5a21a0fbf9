#pragma once

#include "CommandLine.h"

#include <QTextStream>

namespace qf {
class Quillfen_AppDelegate;
}

namespace qf::cli {

// import-qif FILE --date-order ORDER [--account ID|TITLE]: every record of
// the file becomes a transaction, in the account or the library; prints how
// many. A file that is not 7-bit ASCII stores nothing. Returns an ExitCode.
int importQifCommand(Quillfen_AppDelegate& delegate, const CommandLine& line, QTextStream& out, QTextStream& err);

} // namespace qf::cli
