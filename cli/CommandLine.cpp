#include "CommandLine.h"

namespace qf::cli {

std::optional<CommandLine> CommandLine::parse(const QStringList& arguments, const QStringList& flags, QString* error)
{
    CommandLine line;
    for (int i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        if (argument.startsWith(QLatin1String("--")) && argument.size() > 2) {
            QString name = argument.mid(2);
            QString value;
            const int equals = name.indexOf(QLatin1Char('='));
            if (equals >= 0) {
                value = name.mid(equals + 1);
                name = name.left(equals);
            } else if (flags.contains(name)) {
                value = QStringLiteral("1");
            } else if (i + 1 < arguments.size()) {
                value = arguments.at(++i);
            } else {
                *error = QStringLiteral("option --%1 needs a value").arg(name);
                return std::nullopt;
            }
            line.m_options[name].append(value);
        } else if (line.m_command.isEmpty()) {
            line.m_command = argument;
        } else {
            line.m_positional.append(argument);
        }
    }
    return line;
}

QString CommandLine::value(const QString& option, const QString& fallback) const
{
    const QStringList all = m_options.value(option);
    return all.isEmpty() ? fallback : all.last();
}

QStringList CommandLine::unknownOptions(const QStringList& known) const
{
    QStringList unknown;
    for (auto it = m_options.begin(); it != m_options.end(); ++it) {
        if (!known.contains(it.key()))
            unknown.append(QStringLiteral("--") + it.key());
    }
    return unknown;
}

void CommandLine::removeOptions(const QStringList& names)
{
    for (const QString& name : names)
        m_options.remove(name);
}

} // namespace qf::cli
