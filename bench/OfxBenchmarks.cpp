// Reading generated bank statements of 10,000 and 100,000 transactions in
// both forms. Run a Release build: build-release/bin/bench_ofx.
#include "exchange/OfxStatementReader.h"
#include "exchange/OfxXmlTidy.h"

#include <QByteArray>
#include <benchmark/benchmark.h>
#include <fstream>
#include <random>
#include <string>

using namespace qf;

namespace {

enum Form { Sgml, Xml };

long statusKilobytes(const char* field)
{
    std::ifstream status("/proc/self/status");
    std::string line;
    const std::string prefix = std::string(field) + ':';
    while (std::getline(status, line)) {
        if (line.rfind(prefix, 0) == 0)
            return std::stol(line.substr(prefix.size()));
    }
    return 0;
}

// A seeded statement with the tags banks send, in one form or the other.
QByteArray statement(std::int64_t transactions, Form form)
{
    static const char* const payees[] = {"ACME PAYROLL", "CITY WATER &amp; SEWER", "CORNER GROCERY #12",
                                         "AT&amp;T WIRELESS", "Bäckerei Müller", "ONLINE BOOKS LTD"};
    std::mt19937 random(42);
    const bool xml = form == Xml;
    auto leaf = [xml](QByteArray& out, const char* tag, const QByteArray& value) {
        out += '<';
        out += tag;
        out += '>';
        out += value;
        if (xml) {
            out += "</";
            out += tag;
            out += '>';
        }
        out += "\r\n";
    };
    QByteArray out;
    out.reserve(transactions * 260);
    out += xml ? "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<?OFX OFXHEADER=\"200\" VERSION=\"220\"?>\r\n"
               : "OFXHEADER:100\r\nDATA:OFXSGML\r\nVERSION:102\r\n\r\n";
    out += "<OFX>\r\n<BANKMSGSRSV1>\r\n<STMTTRNRS>\r\n<STMTRS>\r\n<BANKTRANLIST>\r\n";
    leaf(out, "DTSTART", "20200101");
    leaf(out, "DTEND", "20241231");
    for (std::int64_t i = 0; i < transactions; ++i) {
        const int cents = int(random() % 500000) - 250000;
        out += "<STMTTRN>\r\n";
        leaf(out, "TRNTYPE", cents < 0 ? "DEBIT" : "CREDIT");
        leaf(out, "DTPOSTED", QByteArray::number(2020 + int(random() % 5)) + "0" + QByteArray::number(1 + random() % 9) +
                                  QByteArray::number(10 + random() % 18) + "120000.000[-5:EST]");
        leaf(out, "TRNAMT", QByteArray::number(cents / 100.0, 'f', 2));
        leaf(out, "FITID", "T" + QByteArray::number(i));
        leaf(out, "NAME", payees[random() % std::size(payees)]);
        leaf(out, "MEMO", "Reference " + QByteArray::number(quint32(random())));
        out += "</STMTTRN>\r\n";
    }
    out += "</BANKTRANLIST>\r\n</STMTRS>\r\n</STMTTRNRS>\r\n</BANKMSGSRSV1>\r\n</OFX>\r\n";
    return out;
}

void BM_ReadStatement(benchmark::State& state)
{
    const QByteArray bytes = statement(state.range(0), Form(state.range(1)));
    std::size_t count = 0;
    long peak = 0;
    for (auto _ : state) {
        // Peak memory of this read alone: clear the high-water mark first.
        std::ofstream("/proc/self/clear_refs") << "5";
        const long before = statusKilobytes("VmRSS");
        OfxStatementReader reader;
        auto records = reader.readData(bytes);
        if (!records)
            state.SkipWithError(qPrintable(records.message()));
        else
            count = records->size();
        peak = std::max(peak, statusKilobytes("VmHWM") - before);
    }
    state.counters["records"] = double(count);
    state.counters["file_MB"] = bytes.size() / 1e6;
    state.counters["peak_MB"] = peak / 1e3;
}

// The XML form's first step alone: printing it one element per line.
void BM_TidyXml(benchmark::State& state)
{
    const QByteArray bytes = statement(state.range(0), Xml);
    for (auto _ : state) {
        auto tidied = OfxXmlTidy::prettyPrint(QByteArrayView(bytes));
        benchmark::DoNotOptimize(tidied);
    }
    state.counters["file_MB"] = bytes.size() / 1e6;
}

} // namespace

BENCHMARK(BM_TidyXml)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadStatement)
    ->ArgsProduct({{10000, 100000}, {Sgml, Xml}})
    ->ArgNames({"transactions", "xml"})
    ->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
