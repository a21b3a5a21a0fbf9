#pragma once

#include <QObject>
#include <QPointer>

class QAbstractAnimation;
class QGraphicsOpacityEffect;
class QWidget;

namespace qf {

// The error marker: a small red badge beside a field whose input was
// refused, fading in and shaking. It carries no text; the field says what is
// wanted. It lives in the field's window, so it moves with it.
class ErrorController : public QObject {
    Q_OBJECT

public:
    static ErrorController& sharedInstance();

    // Shows the marker to the right of the field, or over the field's right
    // end when the window has no room there. Does nothing while the marker's entrance runs, so
    // repeated refusals do not restart it mid-shake. Typing in the field or
    // clicking the marker closes it.
    void displayErrorFromField(QWidget* field);
    // Fades the marker out; nothing when none is shown.
    void closeErrorPanel();

    bool isAnimating() const;
    bool isShown() const;
    QWidget* panel() const;
    QWidget* field() const { return m_field; }

    // Entrance length; tests shorten it.
    void setAnimationDuration(int milliseconds) { m_duration = milliseconds; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    explicit ErrorController(QObject* parent);
    void placeBeside(QWidget* field);

    QPointer<QWidget> m_marker;
    QPointer<QWidget> m_field;
    QPointer<QAbstractAnimation> m_entrance;
    QPointer<QAbstractAnimation> m_exit;
    int m_duration = 450;
};

} // namespace qf
