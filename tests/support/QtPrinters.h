#pragma once

// Makes GoogleTest print Qt texts as text in failure messages. Included into
// every test file by the build.
#include <QString>
#include <QStringList>
#include <ostream>

inline void PrintTo(const QString& text, std::ostream* os)
{
    *os << '"' << text.toStdString() << '"';
}

inline void PrintTo(const QStringList& list, std::ostream* os)
{
    *os << '{';
    for (qsizetype i = 0; i < list.size(); ++i)
        *os << (i ? ", \"" : "\"") << list.at(i).toStdString() << '"';
    *os << '}';
}
