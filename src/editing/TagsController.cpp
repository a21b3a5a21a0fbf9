#include "editing/TagsController.h"

#include "app/Quillfen_AppDelegate.h"
#include "common/Predicate.h"
#include "common/QFNSStringCategory.h"
#include "editing/TransactionRecords.h"
#include "store/ManagedObject.h"

#include <algorithm>
#include <memory>

namespace qf {

TagsController::TagsController(Quillfen_AppDelegate& delegate) : m_delegate(delegate) {}

TagsController* TagsController::sharedInstance()
{
    static std::unique_ptr<TagsController> shared;
    static Quillfen_AppDelegate* sharedFor = nullptr;
    Quillfen_AppDelegate* delegate = Quillfen_AppDelegate::sharedInstance();
    if (!delegate) {
        shared.reset();
        sharedFor = nullptr;
        return nullptr;
    }
    if (!shared || sharedFor != delegate) {
        shared = std::make_unique<TagsController>(*delegate);
        sharedFor = delegate;
    }
    return shared.get();
}

QStringList TagsController::allTransactionKeywords() const
{
    return keywordsOfTransactions(m_delegate.fetchAllTransObjects());
}

QStringList TagsController::keywordsOfTransactions(const std::vector<ManagedObject*>& transactions)
{
    // A ledger has few distinct tags, so the linear duplicate test is cheap.
    QStringList keywords;
    for (const ManagedObject* t : transactions) {
        const Value value = t->valueForKey(u"trans_keywords");
        if (value.isNull())
            continue;
        for (const QString& piece : value.toString().split(QStringLiteral(", "))) {
            if (QFNSStringCategory::isValidString(piece) && !keywords.contains(piece))
                keywords << piece;
        }
    }
    return keywords;
}

QStringList TagsController::hintsForKeyword(const QString& text) const
{
    return hintsForKeyword(allTransactionKeywords(), text);
}

QStringList TagsController::hintsForKeyword(const QStringList& keywords, const QString& text)
{
    // Tags complete as titles do, from the start of the tag.
    return TransactionRecords::hintsAmong(keywords, text, 0);
}

QStringList TagsController::browseKeywords(const QString& search) const
{
    return browseKeywords(allTransactionKeywords(), search);
}

QStringList TagsController::browseKeywords(QStringList keywords, const QString& search)
{
    std::stable_sort(keywords.begin(), keywords.end(),
                     [](const QString& a, const QString& b) { return a.compare(b, Qt::CaseInsensitive) < 0; });
    if (search.isEmpty())
        return keywords;
    const Result<Predicate> wanted = Predicate::parse(u"SELF contains[cd] %@", {Value(search)});
    if (!wanted)
        return {};
    QStringList found;
    for (const QString& keyword : keywords) {
        if (wanted->evaluate(Value(keyword)))
            found.append(keyword);
    }
    return found;
}

QStringList TagsController::completionsForSubstring(const QObject* field, const QString& substring) const
{
    if (!field || field != m_tokenField)
        return {};
    return hintsForKeyword(substring);
}

} // namespace qf
