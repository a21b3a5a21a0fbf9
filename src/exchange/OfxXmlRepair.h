#pragma once

#include <QByteArray>
#include <QByteArrayView>

namespace qf {

// Mends what banks get wrong in the XML form of a statement, as a tidying
// parser does, in one pass that copies the text once:
// - a value left open is closed after its text:
//   "<CODE>0<SEVERITY>INFO" becomes "<CODE>0</CODE><SEVERITY>INFO</SEVERITY>";
// - an "&" that starts no entity XML knows nor a character reference
//   becomes "&amp;", a "<" that starts no markup "&lt;";
// - an end tag closes the elements opened inside its element, and one
//   that closes nothing open is dropped;
// - a <STMTTRN> ends the one still open in the same list, and a list
//   closed without its </BANKTRANLIST> ends after its last transaction;
// - comments are dropped.
// A tag left unfinished at the end stays as it is; elements still open
// there stay open. Attribute values, declarations and processing
// instructions are copied as they are.
class OfxXmlRepair {
public:
    static QByteArray repair(QByteArrayView utf8);
};

} // namespace qf
