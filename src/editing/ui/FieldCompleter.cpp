#include "editing/ui/FieldCompleter.h"

#include <QAbstractItemView>
#include <QLineEdit>
#include <QStringListModel>

namespace qf {

FieldCompleter::FieldCompleter(QLineEdit* field, Provider provider, Mode mode)
    : QCompleter(field), m_field(field), m_provider(std::move(provider)), m_mode(mode),
      m_model(new QStringListModel(this))
{
    setModel(m_model);
    // The provider has matched already; the popup must not filter again.
    setCompletionMode(QCompleter::UnfilteredPopupCompletion);
    setCaseSensitivity(Qt::CaseInsensitive);
    field->setCompleter(this);
    // textEdited comes before the field asks for the popup, so the popup
    // shows the list for the text just typed.
    connect(field, &QLineEdit::textEdited, this, &FieldCompleter::refill);
}

QStringList FieldCompleter::hints() const
{
    return m_model->stringList();
}

QString FieldCompleter::typedPart(const QString& text) const
{
    if (m_mode == Mode::WholeText)
        return text;
    return text.mid(text.lastIndexOf(QLatin1Char(',')) + 1).trimmed();
}

QString FieldCompleter::pathFromIndex(const QModelIndex& index) const
{
    const QString chosen = QCompleter::pathFromIndex(index);
    if (m_mode == Mode::WholeText)
        return chosen;
    const QString text = m_field->text();
    const qsizetype comma = text.lastIndexOf(QLatin1Char(','));
    return comma < 0 ? chosen : text.left(comma + 1) + QLatin1Char(' ') + chosen;
}

void FieldCompleter::refill(const QString& text)
{
    const QString typed = typedPart(text);
    m_model->setStringList(typed.isEmpty() ? QStringList() : m_provider(typed));
}

} // namespace qf
