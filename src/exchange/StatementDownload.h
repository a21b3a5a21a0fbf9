#pragma once

#include <QString>
#include <QStringView>

namespace qf {

// Which import a statement file goes to.
enum class StatementRoute { None, Qif, Ofx };

// The decisions of the online-banking view about what a bank's web site
// sends: what to save rather than show, where to save it, and which import
// opens it. Extensions and MIME types are compared without regard to case.
class StatementDownload {
public:
    // "qif" goes to the QIF import, "ofx" and "qfx" to the OFX import.
    static StatementRoute routeForPath(QStringView path);
    // A response whose type names a statement ("application/x-ofx",
    // "application/vnd.intu.qfx", "application/qif") is saved, not shown.
    static bool isStatementMimeType(QStringView mimeType);
    // Saved when its type or its name says it is a statement: banks often
    // send statements as "application/octet-stream" with a file name.
    static bool shouldSave(QStringView mimeType, QStringView suggestedName);
    // The suggested name's last path component in `directory` (an older file
    // of that name is replaced); "statement" when the name is empty or only
    // dots, so a name can never climb out of the folder. A name without a
    // statement extension ("export.cgi") gets the one its MIME type names,
    // so that the file finds its import.
    static QString savePath(const QString& directory, QStringView suggestedName, QStringView mimeType);
};

} // namespace qf
