#include "app/ResourceFolder.h"

#include <QCoreApplication>
#include <QFileInfo>

namespace qf {

QString resourceFolder()
{
    if (QCoreApplication::instance()) {
        const QString beside = QCoreApplication::applicationDirPath() + QStringLiteral("/../share/quillfen");
        if (QFileInfo(beside).isDir())
            return QFileInfo(beside).canonicalFilePath();
    }
    return QStringLiteral(QUILLFEN_RESOURCE_DIR);
}

} // namespace qf
