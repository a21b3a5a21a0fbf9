#include "common/SafePathComponent.h"

#include <QDir>
#include <QFileInfo>

namespace qf {

namespace {

// The text as a message may quote it: control characters made visible and
// a long text cut short.
QString quoted(const QString& text)
{
    constexpr qsizetype kShown = 60;
    QString shown = text.left(kShown);
    for (QChar& c : shown) {
        if (c.category() == QChar::Other_Control)
            c = QChar::ReplacementCharacter;
    }
    if (text.size() > kShown)
        shown += QChar(0x2026);
    return QLatin1Char('"') + shown + QLatin1Char('"');
}

Status refused(const QString& text, const QString& why)
{
    return Status::failure(QStringLiteral("%1 cannot be a file name: %2").arg(quoted(text), why));
}

} // namespace

Status SafePathComponent::check(const QString& text)
{
    if (text.isEmpty())
        return refused(text, QStringLiteral("it is empty"));
    if (text == QLatin1String(".") || text == QLatin1String(".."))
        return refused(text, QStringLiteral("it names a folder, not an entry in it"));
    for (const QChar c : text) {
        if (c == QLatin1Char('/'))
            return refused(text, QStringLiteral("it holds \"/\""));
        // Other_Control covers NUL, the C0 and C1 ranges and DEL.
        if (c.category() == QChar::Other_Control)
            return refused(text, QStringLiteral("it holds a control character"));
    }
    if (text.toUtf8().size() > kMaxBytes)
        return refused(text, QStringLiteral("it is longer than %1 bytes").arg(kMaxBytes));
    return Status::ok();
}

Result<QString> SafePathComponent::join(const QString& folder, const QString& name)
{
    if (Status s = check(name); !s)
        return s.error();
    const QString joined = QDir::cleanPath(folder) + QLatin1Char('/') + name;
    // A checked name cannot climb out by itself; a link that is already
    // there can, and removing or writing through it would act elsewhere.
    const QFileInfo entry(joined);
    if (entry.isSymLink()) {
        const QString target = entry.canonicalFilePath();
        const QString inside = QFileInfo(folder).canonicalFilePath() + QLatin1Char('/');
        if (target.isEmpty() || !target.startsWith(inside))
            return Result<QString>::failure(
                QStringLiteral("%1 is a link that leads out of %2").arg(joined, folder));
    }
    return joined;
}

} // namespace qf
