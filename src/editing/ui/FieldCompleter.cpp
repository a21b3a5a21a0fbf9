#include "editing/ui/FieldCompleter.h"

#include <QAbstractItemView>
#include <QCompleter>
#include <QLineEdit>
#include <QStringListModel>

namespace qf {

FieldCompleter::FieldCompleter(QLineEdit& field, Hints hints, QChar separator)
    : QObject(&field), m_field(field), m_hints(std::move(hints)), m_separator(separator),
      m_model(new QStringListModel(this)), m_completer(new QCompleter(m_model, this))
{
    // The hints are already filtered (ignoring case and diacritics), which
    // the completer's own prefix filter would undo; it only shows them.
    m_completer->setCompletionMode(QCompleter::UnfilteredPopupCompletion);
    m_completer->setWidget(&field);
    connect(&field, &QLineEdit::textEdited, this, &FieldCompleter::offerHints);
    connect(m_completer, qOverload<const QString&>(&QCompleter::activated), this, &FieldCompleter::complete);
}

qsizetype FieldCompleter::partialStart() const
{
    if (m_separator.isNull())
        return 0;
    const QString text = m_field.text();
    qsizetype start = text.lastIndexOf(m_separator) + 1;
    while (start < text.size() && text.at(start).isSpace())
        ++start;
    return start;
}

QString FieldCompleter::partialText() const
{
    return m_field.text().mid(partialStart());
}

QStringList FieldCompleter::hints() const
{
    const QString partial = partialText();
    return partial.isEmpty() ? QStringList() : m_hints(partial);
}

void FieldCompleter::offerHints()
{
    const QStringList offered = hints();
    m_model->setStringList(offered);
    if (offered.isEmpty()) {
        m_completer->popup()->hide();
        return;
    }
    m_completer->complete();
}

void FieldCompleter::complete(const QString& completion)
{
    m_field.setText(m_field.text().left(partialStart()) + completion);
    m_completer->popup()->hide();
    Q_EMIT completed();
}

} // namespace qf
