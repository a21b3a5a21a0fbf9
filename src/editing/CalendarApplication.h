#pragma once

#include <QString>
#include <QStringList>
#include <functional>

namespace qf {

// Finds the desktop's default application for calendar files (text/calendar),
// so that an event file is handed over only when something will take it.
class CalendarApplication {
public:
    static QString mimeType() { return QStringLiteral("text/calendar"); }

    // The desktop-file id of the default calendar application; empty when
    // none is registered. Asks `xdg-mime query default` when it is installed,
    // else reads the MIME association files of the XDG folders.
    static QString defaultHandler();
    static bool isHandlerRegistered() { return !defaultHandler().isEmpty(); }

    // The decision over the association files' texts. listTexts are the
    // mimeapps.list / defaults.list files, most important first; cacheTexts
    // the mimeinfo.cache files. The first installed id of a "Default
    // Applications" entry wins; otherwise the first installed id of the
    // "Added Associations" and then of the caches, less the ids a list's
    // "Removed Associations" takes away. Empty when none remains.
    static QString handlerFromAssociations(const QStringList& listTexts, const QStringList& cacheTexts,
                                           const QString& mimeType,
                                           const std::function<bool(const QString& desktopId)>& installed);

    // The association files of this session in the order the desktop reads them.
    static QStringList associationListPaths();
    static QStringList associationCachePaths();

    // Where the event file of a transaction is written before it is handed
    // to the calendar application; the folder is created on first use.
    static QString eventFilePath(const QString& transUniqueID);
};

} // namespace qf
