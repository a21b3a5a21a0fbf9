#pragma once

#include <QString>

namespace qf {

// The folder holding the program's resources (print templates, the example
// store, icons, sounds): share/quillfen beside the binaries when installed or
// built, else the source tree's resources folder.
QString resourceFolder();

} // namespace qf
