#include "views/ui/IconLibrary.h"

#include "app/ResourceFolder.h"

#include <QFileInfo>
#include <QHash>
#include <QToolButton>

namespace qf {

QIcon quillfenIcon(const QString& name)
{
    static QHash<QString, QIcon> cache;
    if (auto it = cache.constFind(name); it != cache.constEnd())
        return *it;
    QIcon icon;
    const QString file = resourceFolder() + QStringLiteral("/icons/") + name + QStringLiteral(".svg");
    if (QFileInfo::exists(file))
        icon = QIcon(file);
    else
        icon = QIcon::fromTheme(name);
    cache.insert(name, icon);
    return icon;
}

void setUpBarButton(QToolButton* button, const QString& objectName, const QString& icon, const QString& tip)
{
    button->setObjectName(objectName);
    button->setIcon(quillfenIcon(icon));
    button->setToolTip(tip);
    button->setAutoRaise(true);
}

} // namespace qf
