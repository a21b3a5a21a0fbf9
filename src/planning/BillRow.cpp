#include "planning/BillRow.h"

#include "store/ManagedObject.h"

namespace qf {

Value BillRow::valueForKey(QStringView key) const
{
    if (key == u"title")
        return m_bill->valueForKey(u"trans_title");
    if (key == u"amount")
        return m_bill->valueForKey(u"trans_amount");
    if (key == u"date")
        return m_bill->valueForKey(u"trans_date");
    if (key == u"keywords")
        return m_bill->valueForKey(u"trans_keywords");
    if (key == u"billType")
        return m_bill->valueForKey(u"trans_billType");
    return {};
}

} // namespace qf
