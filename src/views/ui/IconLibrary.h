#pragma once

#include <QIcon>
#include <QString>

class QToolButton;

namespace qf {

// Icons of the program by name ("Checking_Large_Icon", "filter-all"), from
// the icons folder of the resources; the freedesktop theme fills in where our
// set has none. Loaded once per name.
QIcon quillfenIcon(const QString& name);

// A flat button of a list's bar: one of our icons, a name for tests and
// scripts, and a tool tip.
void setUpBarButton(QToolButton* button, const QString& objectName, const QString& icon, const QString& tip);

} // namespace qf
