#pragma once

#include <QIcon>
#include <QString>

namespace qf {

// Icons of the program by name ("Checking_Large_Icon", "filter-all"), from
// the icons folder of the resources; the freedesktop theme fills in where our
// set has none. Loaded once per name.
QIcon quillfenIcon(const QString& name);

} // namespace qf
