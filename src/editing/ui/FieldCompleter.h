#pragma once

#include <QCompleter>
#include <QStringList>
#include <functional>

class QLineEdit;
class QStringListModel;

namespace qf {

// Completion under a line edit from a list made anew on each edit by the
// user. The list is shown as given (the provider does the matching); no item
// is preselected. In token mode the field holds comma-separated tokens and
// only the last one is completed, the others kept.
class FieldCompleter : public QCompleter {
    Q_OBJECT

public:
    using Provider = std::function<QStringList(const QString& typed)>;
    enum class Mode { WholeText, LastToken };

    // Installs itself as the field's completer; the field owns it.
    FieldCompleter(QLineEdit* field, Provider provider, Mode mode = Mode::WholeText);

    // The completions offered for the last edit.
    QStringList hints() const;
    // The text the provider is asked about: the whole text, or the last token.
    QString typedPart(const QString& text) const;

    QString pathFromIndex(const QModelIndex& index) const override;

private:
    void refill(const QString& text);

    QLineEdit* m_field;
    Provider m_provider;
    Mode m_mode;
    QStringListModel* m_model;
};

} // namespace qf
