#pragma once

#include "common/Result.h"

#include <QByteArrayView>
#include <QString>
#include <QStringView>

namespace qf {

// Turns the XML form of a statement into text with one element per line, so
// that the statement's line-by-line reading applies to both forms.
//
// Whatever stands before the first "<" (the "OFXHEADER:100 …" header lines
// of older files) is skipped; <?xml?>, <?OFX?> and comments are passed over.
// An element holding only text becomes one line "<TAG>text</TAG>" with the
// text escaped again (line breaks as "&#10;"); an element whose text comes
// before its first child is kept whole on one line; any other element gets a
// line for its start and one for its end tag.
//
// Banks mix the forms: leaves left open as in the older form are closed
// before a second attempt. A document cut short yields the lines read up to
// the cut. Anything else that is not well-formed, or nesting deeper than
// kMaxDepth, is an error with the offset into `text`.
class OfxXmlTidy {
public:
    static constexpr int kMaxDepth = 64;

    // Takes the printed lines one at a time, without their line breaks.
    class LineSink {
    public:
        virtual ~LineSink() = default;
        virtual void line(QStringView line) = 0;
        // The lines so far came from a first attempt that failed; the
        // repaired text's lines follow.
        virtual void restart() = 0;
    };

    static Result<QString> prettyPrint(QByteArrayView utf8);
    static Result<QString> prettyPrint(QStringView text);
    // The same lines handed over as they are printed, so that the whole
    // text is never held. The lines of a document that fails are not to be used.
    static Status printLines(QByteArrayView utf8, LineSink& sink);

    // Inserts the end tag of every element whose text is not followed by it:
    // "<CODE>0<SEVERITY>INFO" becomes "<CODE>0</CODE><SEVERITY>INFO</SEVERITY>".
    static QString closeOpenLeaves(QStringView text);
};

} // namespace qf
