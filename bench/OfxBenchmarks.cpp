// Reading generated bank statements of 10,000 and 100,000 transactions in
// both forms, and in the shapes banks also send: the older form as one line,
// and the XML form with bare "&" that needs repair. Run a Release build:
// build-release/bin/bench_ofx.
#include "exchange/OfxStatementReader.h"
#include "exchange/OfxXmlTidy.h"

#include <QByteArray>
#include <benchmark/benchmark.h>
#include <fstream>
#include <initializer_list>
#include <random>
#include <string>

using namespace qf;

namespace {

enum Form { Sgml, Xml, SgmlOneLine, XmlBareAmpersands };

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

// A seeded statement with the tags banks send, in one of the forms.
QByteArray statement(std::int64_t transactions, Form form)
{
    static const char* const payees[] = {"ACME PAYROLL", "CITY WATER &amp; SEWER", "CORNER GROCERY #12",
                                         "AT&amp;T WIRELESS", "Bäckerei Müller", "ONLINE BOOKS LTD"};
    std::mt19937 random(42);
    const bool xml = form == Xml || form == XmlBareAmpersands;
    const char* const eol = form == SgmlOneLine ? "" : "\r\n";
    auto leaf = [xml, eol](QByteArray& out, const char* tag, const QByteArray& value) {
        out += '<';
        out += tag;
        out += '>';
        out += value;
        if (xml) {
            out += "</";
            out += tag;
            out += '>';
        }
        out += eol;
    };
    QByteArray out;
    out.reserve(transactions * 260);
    out += xml ? "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<?OFX OFXHEADER=\"200\" VERSION=\"220\"?>\r\n"
               : "OFXHEADER:100\r\nDATA:OFXSGML\r\nVERSION:102\r\n\r\n";
    auto tags = [eol](QByteArray& out, std::initializer_list<const char*> tags) {
        for (const char* tag : tags) {
            out += tag;
            out += eol;
        }
    };
    tags(out, {"<OFX>", "<BANKMSGSRSV1>", "<STMTTRNRS>", "<STMTRS>", "<BANKTRANLIST>"});
    leaf(out, "DTSTART", "20200101");
    leaf(out, "DTEND", "20241231");
    for (std::int64_t i = 0; i < transactions; ++i) {
        const int cents = int(random() % 500000) - 250000;
        tags(out, {"<STMTTRN>"});
        leaf(out, "TRNTYPE", cents < 0 ? "DEBIT" : "CREDIT");
        leaf(out, "DTPOSTED", QByteArray::number(2020 + int(random() % 5)) + "0" + QByteArray::number(1 + random() % 9) +
                                  QByteArray::number(10 + random() % 18) + "120000.000[-5:EST]");
        leaf(out, "TRNAMT", QByteArray::number(cents / 100.0, 'f', 2));
        leaf(out, "FITID", "T" + QByteArray::number(i));
        leaf(out, "NAME", payees[random() % std::size(payees)]);
        leaf(out, "MEMO", "Reference " + QByteArray::number(quint32(random())));
        tags(out, {"</STMTTRN>"});
    }
    tags(out, {"</BANKTRANLIST>", "</STMTRS>", "</STMTTRNRS>", "</BANKMSGSRSV1>", "</OFX>"});
    if (form == XmlBareAmpersands)
        out.replace("&amp;", "&");
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
    ->ArgsProduct({{10000, 100000}, {Sgml, Xml, SgmlOneLine, XmlBareAmpersands}})
    ->ArgNames({"transactions", "form"})
    ->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
