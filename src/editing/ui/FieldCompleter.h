#pragma once

#include <QObject>
#include <QStringList>
#include <functional>

class QCompleter;
class QLineEdit;
class QStringListModel;

namespace qf {

// Offers completions while the user types in a line edit: for the whole text,
// or, with a separator (tags), for the piece after the last separator. The
// hints come from a function of that partial text; a chosen hint replaces it.
class FieldCompleter : public QObject {
    Q_OBJECT

public:
    using Hints = std::function<QStringList(const QString& partial)>;

    // The field is borrowed and becomes the completer's parent.
    FieldCompleter(QLineEdit& field, Hints hints, QChar separator = {});

    // The piece of the field's text that completion works on.
    QString partialText() const;
    // The hints on offer for the text as it stands (empty for an empty piece).
    QStringList hints() const;
    // Puts the completion in place of the partial piece, as choosing it in
    // the pop-up does, and announces completed().
    void complete(const QString& completion);

Q_SIGNALS:
    // The text was changed by a chosen completion rather than by typing.
    void completed();

private:
    void offerHints();
    qsizetype partialStart() const;

    QLineEdit& m_field;
    Hints m_hints;
    QChar m_separator;
    QStringListModel* m_model;
    QCompleter* m_completer;
};

} // namespace qf
