#include "views/ui/IconLibrary.h"

#include "app/ResourceFolder.h"

#include <QFileInfo>
#include <QHash>

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

} // namespace qf
