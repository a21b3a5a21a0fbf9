#include "exchange/StatementDownload.h"

#include <QDir>

namespace qf {

namespace {
const char* const kKinds[] = {"qif", "ofx", "qfx"};
}

StatementRoute StatementDownload::routeForPath(QStringView path)
{
    const qsizetype dot = path.lastIndexOf(u'.');
    const qsizetype slash = std::max(path.lastIndexOf(u'/'), path.lastIndexOf(u'\\'));
    if (dot < 0 || dot < slash)
        return StatementRoute::None;
    const QStringView extension = path.sliced(dot + 1);
    if (extension.compare(u"qif", Qt::CaseInsensitive) == 0)
        return StatementRoute::Qif;
    if (extension.compare(u"ofx", Qt::CaseInsensitive) == 0 || extension.compare(u"qfx", Qt::CaseInsensitive) == 0)
        return StatementRoute::Ofx;
    return StatementRoute::None;
}

bool StatementDownload::isStatementMimeType(QStringView mimeType)
{
    for (const char* kind : kKinds) {
        if (mimeType.contains(QLatin1String(kind), Qt::CaseInsensitive))
            return true;
    }
    return false;
}

bool StatementDownload::shouldSave(QStringView mimeType, QStringView suggestedName)
{
    return isStatementMimeType(mimeType) || routeForPath(suggestedName) != StatementRoute::None;
}

QString StatementDownload::savePath(const QString& directory, QStringView suggestedName, QStringView mimeType)
{
    const qsizetype slash = std::max(suggestedName.lastIndexOf(u'/'), suggestedName.lastIndexOf(u'\\'));
    QString name = suggestedName.sliced(slash + 1).trimmed().toString();
    bool onlyDots = true;
    for (QChar c : name)
        onlyDots = onlyDots && c == u'.';
    if (onlyDots)
        name = QStringLiteral("statement");
    if (routeForPath(name) == StatementRoute::None) {
        for (const char* kind : kKinds) {
            if (mimeType.contains(QLatin1String(kind), Qt::CaseInsensitive)) {
                name += QLatin1Char('.') + QLatin1String(kind);
                break;
            }
        }
    }
    return QDir(directory).filePath(name);
}

} // namespace qf
