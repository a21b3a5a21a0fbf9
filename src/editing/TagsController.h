#pragma once

#include <QPointer>
#include <QStringList>
#include <vector>

namespace qf {

class ManagedObject;
class Quillfen_AppDelegate;

// The keyword service: every tag used in the ledger, and completion of a
// typed tag. Tags live inside each transaction's trans_keywords, joined by
// ", ". The list is made anew on every call, so it never goes stale.
class TagsController {
public:
    explicit TagsController(Quillfen_AppDelegate& delegate);

    // The service of the shared delegate, made on first use and made again
    // when another delegate has become the shared one; null without one.
    static TagsController* sharedInstance();

    // Every tag of every transaction in fetch order, each once (compared
    // exactly, so "Rent" and "rent" are two tags). Callers sort it.
    QStringList allTransactionKeywords() const;
    static QStringList keywordsOfTransactions(const std::vector<ManagedObject*>& transactions);

    // The tags that begin with the text, ignoring case and diacritics, other
    // than the text itself.
    QStringList hintsForKeyword(const QString& text) const;
    static QStringList hintsForKeyword(const QStringList& keywords, const QString& text);

    // The tag browser's list: the tags sorted ignoring case, narrowed to those
    // that contain the search text ignoring case and diacritics (an empty
    // search keeps all).
    QStringList browseKeywords(const QString& search) const;
    static QStringList browseKeywords(QStringList keywords, const QString& search);

    // The one tag field the service completes (the editor registers its own
    // each time it opens); completions for any other field are none. The
    // field is watched, so a closed editor leaves no dangling registration.
    void setTagsTokenField(QObject* field) { m_tokenField = field; }
    QObject* tagsTokenField() const { return m_tokenField; }
    QStringList completionsForSubstring(const QObject* field, const QString& substring) const;

private:
    Quillfen_AppDelegate& m_delegate;
    QPointer<QObject> m_tokenField;
};

} // namespace qf
