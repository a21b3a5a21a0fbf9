#pragma once

#include "common/LocaleDefaults.h"
#include "common/Value.h"

#include <QDateTime>
#include <QTimeZone>
#include <gtest/gtest.h>

namespace qf::testing {

// Wall-clock time in Berlin as an absolute time, computed by Qt's own zone
// data so that it checks ICU rather than repeating it.
inline AbsoluteTime berlinTime(int year, int month, int day, int hour = 0, int minute = 0)
{
    const QDateTime local(QDate(year, month, day), QTime(hour, minute), QTimeZone("Europe/Berlin"));
    return double(local.toMSecsSinceEpoch()) / 1000.0 - 978307200.0;
}

inline QDateTime inBerlin(AbsoluteTime time)
{
    return QDateTime::fromMSecsSinceEpoch(qint64((time + 978307200.0) * 1000.0)).toTimeZone(QTimeZone("Europe/Berlin"));
}

// Runs every test in Europe/Berlin, whatever TZ the test program was started with.
class PinnedZoneTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(LocaleDefaults::setTimeZoneId(QStringLiteral("Europe/Berlin"))); }
};

} // namespace qf::testing
