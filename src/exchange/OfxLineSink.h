#pragma once

#include <QString>
#include <QStringView>

namespace qf {

// Takes the lines of a statement one at a time, without their line breaks,
// as the printers of both statement forms hand them over.
class OfxLineSink {
public:
    virtual ~OfxLineSink() = default;
    virtual void line(QStringView line) = 0;
    // The lines so far came from a first attempt that failed; the
    // repaired text's lines follow.
    virtual void restart() = 0;
};

// Collects the lines as one text, each ended by "\n".
class OfxLineText : public OfxLineSink {
public:
    void line(QStringView line) override
    {
        m_text += line;
        m_text += u'\n';
    }
    void restart() override { m_text.clear(); }

    QString take() { return std::move(m_text); }

private:
    QString m_text;
};

} // namespace qf
