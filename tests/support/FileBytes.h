#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QString>
#include <QStringDecoder>

namespace qf::test {

// Writes the bytes, making the folders on the way.
inline bool writeFile(const QString& path, const QByteArray& bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

inline QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<unreadable>");
}

// The text of a file written as UTF-16LE after its byte-order mark, or a
// marker saying what is wrong with it.
inline QString utf16File(const QString& path)
{
    const QByteArray bytes = readFile(path);
    if (!bytes.startsWith("\xFF\xFE"))
        return QStringLiteral("<no little-endian byte-order mark>");
    QStringDecoder decoder(QStringConverter::Utf16LE, QStringConverter::Flag::Stateless);
    return decoder.decode(bytes.mid(2));
}

} // namespace qf::test
