#include "editing/CalendarApplication.h"

#include "common/SafePathComponent.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QSet>
#include <QStandardPaths>

namespace qf {

namespace {

constexpr int kQueryTimeoutMilliseconds = 3000;

// The ids a key-file group lists for the MIME type: "type=a.desktop;b.desktop;".
QStringList idsInGroup(const QString& text, QLatin1String group, const QString& mimeType)
{
    const QString header = QLatin1Char('[') + group + QLatin1Char(']');
    QStringList ids;
    bool inGroup = false;
    for (QStringView line : QStringView(text).split(u'\n')) {
        line = line.trimmed();
        if (line.isEmpty() || line.startsWith(u'#'))
            continue;
        if (line.startsWith(u'[')) {
            inGroup = line == header;
            continue;
        }
        if (!inGroup)
            continue;
        const qsizetype equals = line.indexOf(u'=');
        if (equals < 0 || line.left(equals).trimmed() != mimeType)
            continue;
        for (QStringView id : line.mid(equals + 1).split(u';', Qt::SkipEmptyParts)) {
            if (!id.trimmed().isEmpty())
                ids.append(id.trimmed().toString());
        }
    }
    return ids;
}

QStringList readTexts(const QStringList& paths)
{
    QStringList texts;
    for (const QString& path : paths) {
        QFile file(path);
        if (file.open(QIODevice::ReadOnly))
            texts.append(QString::fromUtf8(file.readAll()));
    }
    return texts;
}

QStringList existing(const QStringList& candidates)
{
    QStringList paths;
    for (const QString& path : candidates) {
        if (QFileInfo(path).isFile() && !paths.contains(path))
            paths.append(path);
    }
    return paths;
}

QStringList currentDesktops()
{
    return qEnvironmentVariable("XDG_CURRENT_DESKTOP").toLower().split(QLatin1Char(':'), Qt::SkipEmptyParts);
}

} // namespace

QString CalendarApplication::handlerFromAssociations(const QStringList& listTexts, const QStringList& cacheTexts,
                                                     const QString& mimeType,
                                                     const std::function<bool(const QString&)>& installed)
{
    for (const QString& text : listTexts) {
        for (const QString& id : idsInGroup(text, QLatin1String("Default Applications"), mimeType)) {
            if (installed(id))
                return id;
        }
    }
    QSet<QString> removed;
    for (const QString& text : listTexts) {
        for (const QString& id : idsInGroup(text, QLatin1String("Removed Associations"), mimeType))
            removed.insert(id);
    }
    auto firstKept = [&](const QStringList& texts, QLatin1String group) {
        for (const QString& text : texts) {
            for (const QString& id : idsInGroup(text, group, mimeType)) {
                if (!removed.contains(id) && installed(id))
                    return id;
            }
        }
        return QString();
    };
    const QString added = firstKept(listTexts, QLatin1String("Added Associations"));
    return added.isEmpty() ? firstKept(cacheTexts, QLatin1String("MIME Cache")) : added;
}

QStringList CalendarApplication::associationListPaths()
{
    const QStringList desktops = currentDesktops();
    QStringList candidates;
    for (const QString& dir : QStandardPaths::standardLocations(QStandardPaths::GenericConfigLocation)) {
        for (const QString& desktop : desktops)
            candidates.append(dir + QLatin1Char('/') + desktop + QStringLiteral("-mimeapps.list"));
        candidates.append(dir + QStringLiteral("/mimeapps.list"));
    }
    for (const QString& dir : QStandardPaths::standardLocations(QStandardPaths::ApplicationsLocation)) {
        for (const QString& desktop : desktops)
            candidates.append(dir + QLatin1Char('/') + desktop + QStringLiteral("-mimeapps.list"));
        candidates.append(dir + QStringLiteral("/mimeapps.list"));
        candidates.append(dir + QStringLiteral("/defaults.list"));
    }
    return existing(candidates);
}

QStringList CalendarApplication::associationCachePaths()
{
    QStringList candidates;
    for (const QString& dir : QStandardPaths::standardLocations(QStandardPaths::ApplicationsLocation))
        candidates.append(dir + QStringLiteral("/mimeinfo.cache"));
    return existing(candidates);
}

QString CalendarApplication::defaultHandler()
{
    // xdg-mime knows each desktop's own rules; the files are read only
    // where it is missing or fails.
    const QString xdgMime = QStandardPaths::findExecutable(QStringLiteral("xdg-mime"));
    if (!xdgMime.isEmpty()) {
        QProcess query;
        query.start(xdgMime, {QStringLiteral("query"), QStringLiteral("default"), mimeType()});
        if (query.waitForFinished(kQueryTimeoutMilliseconds) && query.exitStatus() == QProcess::NormalExit
            && query.exitCode() == 0)
            return QString::fromLocal8Bit(query.readAllStandardOutput()).trimmed();
        query.kill();
        query.waitForFinished(kQueryTimeoutMilliseconds);
    }
    const auto installed = [](const QString& id) {
        return !QStandardPaths::locate(QStandardPaths::ApplicationsLocation, id).isEmpty();
    };
    return handlerFromAssociations(readTexts(associationListPaths()), readTexts(associationCachePaths()), mimeType(),
                                   installed);
}

QString CalendarApplication::eventFilePath(const QString& transUniqueID)
{
    const QString folder =
        QStandardPaths::writableLocation(QStandardPaths::TempLocation) + QStringLiteral("/Quillfen Calendar Events");
    QDir().mkpath(folder);
    // An identifier that is no safe file name still gets its event.
    QString name = transUniqueID + QStringLiteral(".ics");
    if (transUniqueID.isEmpty() || !SafePathComponent::isSafe(name))
        name = QStringLiteral("event.ics");
    return folder + QLatin1Char('/') + name;
}

} // namespace qf
