#pragma once

#include "common/Result.h"
#include "editing/VCardReader.h"

#include <QString>
#include <QStringList>
#include <vector>

namespace qf {

// The address book behind payee completion: the vCard files (*.vcf, any
// case) of a folder and its subfolders, read in the order of their paths
// relative to the folder, cards in file order.
class ContactBook {
public:
    // ~/.local/share/contacts (the generic data folder's "contacts").
    static QString defaultFolder();
    // The folder the user chose in the preferences (ContactsFolder); the
    // default folder when none is chosen.
    static QString chosenFolder();

    ContactBook() = default;
    explicit ContactBook(std::vector<VCardContact> contacts) : m_contacts(std::move(contacts)) {}

    // Reads every card file; a file that cannot be read or parsed is left
    // out and its problem kept in errors(). A missing folder is an empty book.
    static ContactBook load(const QString& folder);

    const std::vector<VCardContact>& contacts() const { return m_contacts; }
    // "path: message" per file left out.
    const QStringList& errors() const { return m_errors; }

    // Completions for a payee typed so far: first the people whose first or
    // last name contains the text, ignoring case ("First Last", or the first
    // name alone when there is no last name), then the organisations that
    // begin with it. Duplicates are kept. The empty text completes nothing.
    QStringList hintsForContact(const QString& text) const;

private:
    std::vector<VCardContact> m_contacts;
    QStringList m_errors;
};

} // namespace qf
