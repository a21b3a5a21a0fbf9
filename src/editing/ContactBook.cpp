#include "editing/ContactBook.h"

#include "app/UserDefaults.h"
#include "common/QFNSStringCategory.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QStandardPaths>
#include <algorithm>

namespace qf {

QString ContactBook::defaultFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/contacts");
}

QString ContactBook::chosenFolder()
{
    const QString chosen = UserDefaults::standard().stringForKey(DefaultsKey::ContactsFolder);
    return chosen.isEmpty() ? defaultFolder() : chosen;
}

ContactBook ContactBook::load(const QString& folder)
{
    ContactBook book;
    const QDir root(folder);
    QStringList paths;
    QDirIterator it(folder, QDir::Files | QDir::Readable, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        if (path.endsWith(QLatin1String(".vcf"), Qt::CaseInsensitive))
            paths.append(root.relativeFilePath(path));
    }
    // Directory listing order is the file system's; sorted paths give a
    // stable order of completions.
    std::sort(paths.begin(), paths.end());
    for (const QString& relative : paths) {
        QFile file(root.filePath(relative));
        if (!file.open(QIODevice::ReadOnly)) {
            book.m_errors.append(QStringLiteral("%1: %2").arg(relative, file.errorString()));
            continue;
        }
        Result<std::vector<VCardContact>> cards = VCardReader::read(file.readAll());
        if (!cards) {
            book.m_errors.append(
                QStringLiteral("%1: %2 (line %3)").arg(relative, cards.error().message).arg(cards.error().position));
            continue;
        }
        book.m_contacts.insert(book.m_contacts.end(), cards->begin(), cards->end());
    }
    return book;
}

QStringList ContactBook::hintsForContact(const QString& text) const
{
    QStringList hints;
    if (text.isEmpty())
        return hints;
    for (const VCardContact& contact : m_contacts) {
        if (!contact.firstName.contains(text, Qt::CaseInsensitive)
            && !contact.lastName.contains(text, Qt::CaseInsensitive))
            continue;
        if (!QFNSStringCategory::isValidString(contact.lastName))
            hints.append(contact.firstName);
        else if (!QFNSStringCategory::isValidString(contact.firstName))
            hints.append(contact.lastName); // no first name: no leading blank
        else
            hints.append(QStringLiteral("%1 %2").arg(contact.firstName, contact.lastName));
    }
    for (const VCardContact& contact : m_contacts) {
        if (contact.organization.startsWith(text, Qt::CaseInsensitive))
            hints.append(contact.organization);
    }
    return hints;
}

} // namespace qf
