// Writes the seed inputs of the fuzz harnesses, one folder per harness: what the emulated frame
// sends for the demo show, what the client sends, show files written from the demo show, the
// shipped labels file, and the hostile show files that once broke the readers. Run it after
// changing an encoder or a reader (the dev build makes it on request):
//
//   cmake --build --preset dev --target quorvane-fuzz-seeds
//   build/dev/fuzz/quorvane-fuzz-seeds fuzz/corpus
//
// A harness whose first input byte picks a panel width reads it as an index into its list of
// widths: 0 → 15, 1 → 20, 2 → 25, 3 → 35.

#include "demo_show.h"
#include "frame_encoders.h"
#include "link/wire_messages.h"
#include "model/button_address.h"
#include "model/show_file.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <cstdio>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::emulator;

namespace {

class SeedWriter {
public:
    explicit SeedWriter(QString root)
        : m_root(std::move(root))
    {
    }

    void write(const QString& harness, const QString& name, const QByteArray& bytes)
    {
        const QString folder = m_root + u'/' + harness;
        QFile file(folder + u'/' + name);
        if (!QDir().mkpath(folder) || !file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
            file.write(bytes) != bytes.size()) {
            std::fprintf(stderr, "cannot write %s\n", qPrintable(file.fileName()));
            m_failed = true;
        }
    }

    bool failed() const { return m_failed; }

private:
    QString m_root;
    bool m_failed = false;
};

// The index of `width` in the harnesses' lists of widths, as the first input byte.
QByteArray widthByte(int width)
{
    for (qsizetype i = 0; i < qsizetype(supportedButtonCounts.size()); ++i) {
        if (supportedButtonCounts[i] == width)
            return QByteArray(1, static_cast<char>(i));
    }
    qFatal("no panel is %d buttons wide", width);
}

QList<ButtonRecord> shiftRecords(const Show& show, Bus bus, int width, int shift)
{
    QList<ButtonRecord> records;
    for (int button = 1; button <= width; ++button) {
        const quint16 parameter = buttonParameter(width, shift, button);
        records.append({parameter, busCode(bus), show.buttons.source(busCode(bus), parameter)});
    }
    return records;
}

void writeButtonData(SeedWriter& seeds, const Show& show)
{
    for (int width : supportedButtonCounts) {
        seeds.write(u"button_data"_s, u"shift1-pgm-"_s + QString::number(width),
                    widthByte(width) +
                        buttonDatagram(0x0101, 7, shiftRecords(show, Bus::pgm, width, 1)));
    }
    // Removals, the two reserved sources, an unknown bus code and a field past the fourth row.
    const QList<ButtonRecord> odd{{buttonParameter(20, 1, 1), 0x00, 0},
                                  {buttonParameter(20, 1, 2), 0x10, 0xFFFFFFFF},
                                  {buttonParameter(20, 1, 3), 0x20, 0xFFFFFFFE},
                                  {buttonParameter(20, 1, 4), 0x60, 1042},
                                  {quint16(buttonParameter(20, 4, 20) + 16), 0x30, 1042},
                                  {buttonParameter(20, 4, 20), 0x50, 0x7FFFFFFF}};
    seeds.write(u"button_data"_s, u"odd-records-20"_s, widthByte(20) + buttonDatagram(0, 0, odd));
    seeds.write(u"button_data"_s, u"too-short"_s, widthByte(35) + QByteArray(19, '\x13'));
}

void writeSourceNames(SeedWriter& seeds, const Show& show)
{
    SequenceCounter sequence;
    const QList<QByteArray> bulk = sourceNameMessages(show.sources, NameRecordKind::bulk, sequence);
    seeds.write(u"source_names"_s, u"bulk"_s, bulk.first());
    std::vector<NamedSource> renamed{show.sources.front()};
    renamed.front().names.panel = u"CAM 1 WIDE"_s;
    renamed.front().names.oled.clear();
    seeds.write(u"source_names"_s, u"live"_s,
                sourceNameMessages(renamed, NameRecordKind::live, sequence).first());

    const QList<QByteArray> definitions = sourceDefinitionMessages(show.sources, sequence);
    seeds.write(u"source_definitions"_s, u"definitions"_s, definitions.first());
}

void writeFrameInfo(SeedWriter& seeds)
{
    seeds.write(u"frame_info"_s, u"k-frame-xp"_s, frameInfoReply(0x0102, FrameIdentity{}));
    seeds.write(u"frame_info"_s, u"kayenne-v9.2"_s,
                frameInfoReply(0x0103, FrameIdentity{u"Kayenne"_s, u"V9.2"_s, u"KY-1"_s}));
}

void writeClientMessages(SeedWriter& seeds)
{
    const QList<std::pair<QString, QByteArray>> messages{
        {u"ping"_s, wire::ping()},
        {u"sync"_s, wire::sync()},
        {u"ack"_s, wire::ackFor(QByteArray::fromHex("00040105"))},
        {u"client-id-first"_s, wire::clientIdFirst()},
        {u"client-id-second"_s, wire::clientIdSecond(0x0102)},
        {u"registration"_s, wire::firstRegistration(0x0103)},
        {u"suite-registration"_s, wire::suiteRegistration(0x0104, 3)},
        {u"second-suite-registration"_s, wire::secondSuiteRegistration(0x0105)},
        {u"definitions-subscription"_s, wire::sourceDefinitionsSubscription(0x0106)},
        {u"names-subscription"_s, wire::sourceNamesSubscription(0x0107)},
        {u"frame-info-subscription"_s, wire::frameInfoSubscription(0x0108)},
        {u"bus-preamble"_s, wire::busPreamble(0x0109)},
        {u"button-subscription"_s,
         wire::buttonSubscription(0x010a, 12, buttonAddress(2, 7, 20), busCode(Bus::aux))},
        {u"write-request"_s,
         wire::writeRequest(0x010b, buttonAddress(4, 35, 35), busCode(Bus::me4), 1042)},
    };
    for (const auto& [name, bytes] : messages)
        seeds.write(u"client_messages"_s, name, bytes);
}

ShowFile demoShowFile(const Show& show, int width, const QList<Bus>& buses)
{
    ShowFile file;
    file.frameName = u"K-Frame XP"_s;
    file.frameVersion = u"V12.3.1"_s;
    file.frameAddress = u"10.1.20.5"_s;
    file.suite = 2;
    file.buttonCount = width;
    for (Bus bus : buses) {
        for (int shift = 1; shift <= 4; ++shift) {
            for (int button = 1; button <= width; ++button) {
                const quint32 source = show.buttons.mapping(bus, width, shift, button);
                const NamedSource* named = show.find(static_cast<int>(source));
                if (source != 0)
                    file.buttons.append({bus, shift, button, qint64{source},
                                         named ? named->names.panel : QString()});
            }
        }
    }
    return file;
}

// Inputs that once crashed or misled a reader, kept so that the fuzzing starts from them.
const QList<std::pair<QString, QByteArray>> hostileShowFiles{
    {u"two-byte-order-marks"_s, "\xEF\xBB\xBF\xEF\xBB\xBF{}"_ba},
    {u"only-white-space"_s, " \t\r\n "_ba},
    {u"surrogate-escape"_s,
     R"({"format":"quorvane-show","version":1,"frame":{"name":"\ud800","version":"","address":""},"suite":1,"buttonCount":15,"buttons":[]})"_ba},
    {u"mark-in-name"_s, "bus,shift,button,source,name\nME1,1,1,7,\xEF\xBB\xBF"
                        "CAM\n"_ba},
    {u"nul-in-name"_s, "bus,shift,button,source,name\nME1,1,1,7,A"_ba.append('\0').append("B\n")},
};

void writeShowFiles(SeedWriter& seeds, const Show& show)
{
    const ShowFile small = demoShowFile(show, 15, {Bus::aux});
    ShowFile named = small;
    named.buttons = named.buttons.mid(0, 4);
    named.buttons[0].name = u"Bars, \"HD\""_s;
    named.buttons[1].name = u"K\u00e4mera \u2192 1"_s;
    named.buttons[2].name = u"two\nlines"_s;
    seeds.write(u"show_json"_s, u"aux-15"_s, writeShowJson(small));
    seeds.write(u"show_json"_s, u"names"_s, writeShowJson(named));
    seeds.write(u"show_csv"_s, u"aux-15"_s, widthByte(15) + writeShowCsv(small));
    seeds.write(u"show_csv"_s, u"names"_s, widthByte(15) + writeShowCsv(named));
    const ShowFile wide = demoShowFile(show, 35, {Bus::pgm});
    seeds.write(u"show_csv"_s, u"pgm-35"_s, widthByte(35) + writeShowCsv(wide));
    for (const auto& [name, bytes] : hostileShowFiles) {
        seeds.write(u"show_json"_s, name, bytes);
        seeds.write(u"show_csv"_s, name, widthByte(20) + bytes);
    }
}

void writeSourceLabels(SeedWriter& seeds)
{
    QFile shipped(u":/source_labels.csv"_s);
    if (!shipped.open(QIODevice::ReadOnly))
        qFatal("the built-in source_labels.csv is missing");
    seeds.write(u"source_labels"_s, u"shipped"_s, shipped.readAll());
    seeds.write(u"source_labels"_s, u"edges"_s,
                "number,label\r\n+12,Plus\r\n-3,Minus\n0700,Zero\n65535,Last\n65536,Past\n"
                "4294967996,Wraps\n1000, Black , extra\n12\nabc,Label\n"_ba);
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s CORPUS_FOLDER\n", argv[0]);
        return 2;
    }
    SeedWriter seeds(QString::fromLocal8Bit(argv[1]));
    const Show show = demoShow();
    writeButtonData(seeds, show);
    writeSourceNames(seeds, show);
    writeFrameInfo(seeds);
    writeClientMessages(seeds);
    writeShowFiles(seeds, show);
    writeSourceLabels(seeds);
    return seeds.failed() ? 1 : 0;
}
