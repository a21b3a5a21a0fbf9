#pragma once

#include <QMap>
#include <QString>
#include <QStringList>
#include <optional>

namespace qf::cli {

// A parsed command line: global options, the command, its options and its
// positional arguments. Options take one value each, except the flags named
// when parsing; an option given twice keeps every value in order.
class CommandLine {
public:
    // Fails (with a message in error()) on an option missing its value.
    static std::optional<CommandLine> parse(const QStringList& arguments, const QStringList& flags, QString* error);

    const QString& command() const { return m_command; }
    const QStringList& positional() const { return m_positional; }
    bool has(const QString& option) const { return m_options.contains(option); }
    QString value(const QString& option, const QString& fallback = {}) const;
    QStringList values(const QString& option) const { return m_options.value(option); }
    // Options the command does not know; names listed, for a usage error.
    QStringList unknownOptions(const QStringList& known) const;
    void removeOptions(const QStringList& names);

private:
    QString m_command;
    QStringList m_positional;
    QMap<QString, QStringList> m_options;
};

} // namespace qf::cli
