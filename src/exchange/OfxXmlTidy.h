#pragma once

#include "common/Result.h"
#include "exchange/OfxLineSink.h"

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
// A document that is not well-formed is repaired (OfxXmlRepair) and read
// again, and what the parser still finds wrong in it is passed over. A
// document cut short yields the lines read up to the cut. Nesting deeper
// than kMaxDepth is an error with the offset into `text`.
class OfxXmlTidy {
public:
    static constexpr int kMaxDepth = 64;

    static Result<QString> prettyPrint(QByteArrayView utf8);
    static Result<QString> prettyPrint(QStringView text);
    // The same lines handed over as they are printed, so that the whole
    // text is never held. The lines of a document that fails are not to be used.
    static Status printLines(QByteArrayView utf8, OfxLineSink& sink);
};

} // namespace qf
