#pragma once

#include "common/Result.h"

#include <QString>

namespace qf {

// The desktop's Trash, where the user can still get back what we put away.
class Trash {
public:
    // Moves the file or folder to the user's Trash and gives where it went.
    // The home Trash is made first when missing: without it the move could
    // land somewhere the user would never look.
    static Result<QString> move(const QString& path);
};

} // namespace qf
