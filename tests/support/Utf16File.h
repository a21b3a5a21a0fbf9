#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QStringDecoder>

namespace qf::test {

// The text of a file written as UTF-16LE after its byte-order mark, or a
// marker saying what is wrong with it.
inline QString utf16File(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QStringLiteral("<unreadable>");
    const QByteArray bytes = file.readAll();
    if (!bytes.startsWith("\xFF\xFE"))
        return QStringLiteral("<no little-endian byte-order mark>");
    QStringDecoder decoder(QStringConverter::Utf16LE, QStringConverter::Flag::Stateless);
    return decoder.decode(bytes.mid(2));
}

} // namespace qf::test
