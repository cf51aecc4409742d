#include "model/show_file.h"

#include <QTest>
#include <algorithm>

using namespace Qt::StringLiterals;
using namespace quorvane;

namespace quorvane {
// Readable failure messages for QCOMPARE.
char* toString(Bus bus)
{
    return QTest::toString(busName(bus));
}

char* toString(const ShowButton& button)
{
    return QTest::toString(busName(button.bus) + u' ' + QString::number(button.shift) + u' ' +
                           QString::number(button.button) + u" > "_s +
                           QString::number(button.source) + u" \""_s + button.name + u'"');
}

char* toString(const ShowFile& file)
{
    QString text = file.frameName + u'|' + file.frameVersion + u'|' + file.frameAddress +
                   u"|suite "_s + QString::number(file.suite) + u"|count "_s +
                   QString::number(file.buttonCount);
    for (const ShowButton& button : file.buttons) {
        text += u"|"_s + busName(button.bus) + u' ' + QString::number(button.shift) + u' ' +
                QString::number(button.button) + u'>' + QString::number(button.source) + u' ' +
                button.name;
    }
    return QTest::toString(text);
}
} // namespace quorvane

namespace {

ShowFile sampleFile()
{
    ShowFile file;
    file.frameName = u"KF-STUDIO-A"_s;
    file.frameVersion = u"V21.2"_s;
    file.frameAddress = u"10.1.20.5"_s;
    file.suite = 2;
    file.buttonCount = 20;
    file.buttons = {
        {Bus::me1, 1, 1, 1042, u"CAM 1"_s},
        {Bus::me4, 2, 5, 0, QString()},
        {Bus::pgm, 1, 7, 1042, u"CAM 7"_s},
        {Bus::aux, 4, 20, 65535, u"Bars, \"HD\""_s},
    };
    file.sources = {{12, {u"CAM 12 ENG"_s, u"CAM 12"_s, u"C12"_s, u"Camera 12"_s}},
                    {7, {u"VT 7"_s, {}, {}, {}}}};
    return file;
}

// The sample as written: pinned byte for byte, since people diff these files.
const QByteArray sampleJson = R"json({
  "format": "quorvane-show",
  "version": 2,
  "frame": { "name": "KF-STUDIO-A", "version": "V21.2", "address": "10.1.20.5" },
  "suite": 2,
  "buttonCount": 20,
  "buttons": [
    { "bus": "ME1", "shift": 1, "button": 1, "source": 1042, "name": "CAM 1" },
    { "bus": "ME4", "shift": 2, "button": 5, "source": 0, "name": "" },
    { "bus": "PGM", "shift": 1, "button": 7, "source": 1042, "name": "CAM 7" },
    { "bus": "AUX", "shift": 4, "button": 20, "source": 65535, "name": "Bars, \"HD\"" }
  ],
  "sources": [
    { "source": 7, "eng": "VT 7", "panel": "", "oled": "", "menu": "" },
    { "source": 12, "eng": "CAM 12 ENG", "panel": "CAM 12", "oled": "C12", "menu": "Camera 12" }
  ]
}
)json"_ba;

const QByteArray sampleCsv = "bus,shift,button,source,name\n"
                             "ME1,1,1,1042,CAM 1\n"
                             "ME4,2,5,0,\n"
                             "PGM,1,7,1042,CAM 7\n"
                             "AUX,4,20,65535,\"Bars, \"\"HD\"\"\"\n"
                             "\n"
                             "source,eng,panel,oled,menu\n"
                             "7,VT 7,,,\n"
                             "12,CAM 12 ENG,CAM 12,C12,Camera 12\n"_ba;

// The sample JSON with one piece of text replaced, which must be there.
QByteArray sampleJsonWith(const QByteArray& from, const QByteArray& to)
{
    if (!sampleJson.contains(from))
        qFatal("the sample has no %s", from.constData());
    return QByteArray(sampleJson).replace(from, to);
}

ShowFile withButtons(const QList<ShowButton>& buttons)
{
    ShowFile file;
    file.buttons = buttons;
    return file;
}

QStringList problemTexts(const ShowFileResult& result)
{
    QStringList texts;
    for (const ShowFileProblem& problem : result.problems)
        texts.append(problem.text());
    return texts;
}

const QString busList = u"(the buses are ME1, ME2, ME3, ME4, PGM, AUX)"_s;

const QByteArray byteOrderMark = "\xEF\xBB\xBF"_ba;

} // namespace

class TestShowFile : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // ---- The written form ---------------------------------------------------------------

    void jsonIsWrittenInTheFixedLayout() { QCOMPARE(writeShowJson(sampleFile()), sampleJson); }

    void csvIsWrittenInTheFixedLayout() { QCOMPARE(writeShowCsv(sampleFile()), sampleCsv); }

    void jsonOfNoButtons()
    {
        ShowFile file;
        file.frameAddress = u"10.0.0.1"_s;
        const QByteArray expected = R"json({
  "format": "quorvane-show",
  "version": 2,
  "frame": { "name": "", "version": "", "address": "10.0.0.1" },
  "suite": 1,
  "buttonCount": 35,
  "buttons": [],
  "sources": []
}
)json"_ba;
        QCOMPARE(writeShowJson(file), expected);
        const ShowFileResult read = readShowJson(expected);
        QCOMPARE(problemTexts(read), QStringList());
        QVERIFY(read.file);
        QCOMPARE(*read.file, file);
    }

    void versionOneFilesStillRead()
    {
        // Written before source names were kept: the same file without them.
        QByteArray older = sampleJson;
        older.replace(R"("version": 2)", R"("version": 1)");
        const qsizetype sources = older.indexOf("  ],\n  \"sources\"");
        older = older.first(sources) + "  ]\n}\n";
        const ShowFileResult read = readShowJson(older);
        QCOMPARE(problemTexts(read), QStringList());
        ShowFile expected = sampleFile();
        expected.sources.clear();
        QCOMPARE(*read.file, expected);

        // A version 1 file knows no source names.
        QByteArray mixed = sampleJson;
        mixed.replace(R"("version": 2)", R"("version": 1)");
        QCOMPARE(problemTexts(readShowJson(mixed)),
                 QStringList(u"line 13: unknown key \"sources\""_s));
    }

    void namesMayBeLeftOut()
    {
        // By hand, people write the source; the name is only a note for them.
        QByteArray json = sampleJson;
        json.replace(R"(, "name": "CAM 7")", "");
        const ShowFileResult fromJson = readShowJson(json);
        QCOMPARE(problemTexts(fromJson), QStringList());
        QCOMPARE(fromJson.file->buttons[2], (ShowButton{Bus::pgm, 1, 7, 1042, QString()}));

        const QByteArray withoutColumn = "bus,shift,button,source\nPGM,1,7,1042\nME1,2,3,12\n"_ba;
        const ShowFileResult fromCsv = readShowCsv(withoutColumn, 20);
        QCOMPARE(problemTexts(fromCsv), QStringList());
        QCOMPARE(fromCsv.file->buttons,
                 (QList<ShowButton>{{Bus::me1, 2, 3, 12, {}}, {Bus::pgm, 1, 7, 1042, {}}}));
        // Under the full header a row may leave its name out too, but not more.
        const ShowFileResult mixed =
            readShowCsv("bus,shift,button,source,name\nPGM,1,7,1042\nME1,2,3,12,CAM\n"_ba, 20);
        QCOMPARE(problemTexts(mixed), QStringList());
        QCOMPARE(mixed.file->buttons.size(), 2);
        QCOMPARE(problemTexts(readShowCsv("bus,shift,button,source\nPGM,1,7,1042,CAM\n"_ba, 20)),
                 QStringList(u"line 2: expected 4 fields (bus,shift,button,source), found 5"_s));
    }

    void sourceNamesRoundTripInBothFormats()
    {
        const ShowFile file = sampleFile();
        const ShowFileResult fromJson = readShowJson(writeShowJson(file));
        QCOMPARE(problemTexts(fromJson), QStringList());
        QCOMPARE(fromJson.file->sources, file.sources);
        const ShowFileResult fromCsv = readShowCsv(writeShowCsv(file), 20);
        QCOMPARE(problemTexts(fromCsv), QStringList());
        QCOMPARE(fromCsv.file->sources, file.sources);
        QCOMPARE(fromCsv.file->buttons, file.buttons);
        // Names are optional in a source entry of JSON.
        const ShowFileResult sparse = readShowJson(
            sampleJsonWith(R"({ "source": 7, "eng": "VT 7", "panel": "", "oled": "", "menu": "" })",
                           R"({ "source": 7, "eng": "VT 7" })"));
        QCOMPARE(problemTexts(sparse), QStringList());
        QCOMPARE(sparse.file->sources.value(7), (SourceName{u"VT 7"_s, {}, {}, {}}));
    }

    void badSourceNamesAreRefused_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<QByteArray>("csv");
        QTest::addColumn<QString>("jsonProblem");
        QTest::addColumn<QString>("csvProblem");
        const QByteArray entry =
            R"({ "source": 7, "eng": "VT 7", "panel": "", "oled": "", "menu": "" })";
        const QByteArray row = "7,VT 7,,,\n";
        const auto csvWith = [&](const QByteArray& replacement) {
            return QByteArray(sampleCsv).replace(row, replacement);
        };
        QTest::newRow("source 0") << sampleJsonWith(entry, R"({ "source": 0 })")
                                  << csvWith("0,VT 7,,,\n")
                                  << u"line 14 (sources[0]): source 0 is outside 1-999"_s
                                  << u"line 8: source 0 is outside 1-999"_s;
        QTest::newRow("source 1000")
            << sampleJsonWith(entry, R"({ "source": 1000 })") << csvWith("1000,VT 7,,,\n")
            << u"line 14 (sources[0]): source 1000 is outside 1-999"_s
            << u"line 8: source 1000 is outside 1-999"_s;
        QTest::newRow("listed twice")
            << sampleJsonWith(entry, R"({ "source": 12 })") << csvWith("12,again,,,\n")
            << u"line 15 (sources[1]): source 12 is listed twice (first at sources[0], line 14)"_s
            << u"line 9: source 12 is listed twice (first at line 8)"_s;
        QTest::newRow("unknown key or field")
            << sampleJsonWith(entry, R"({ "source": 7, "colour": "red" })")
            << csvWith("7,VT 7,,,,red\n") << u"line 14 (sources[0]): unknown key \"colour\""_s
            << u"line 8: expected 5 fields (source,eng,panel,oled,menu), found 6"_s;
        QTest::newRow("a name that is no text")
            << sampleJsonWith(entry, R"({ "source": 7, "eng": 7 })") << csvWith("x,VT 7,,,\n")
            << u"line 14 (sources[0]): \"eng\" must be text, found 7"_s
            << u"line 8: source \"x\" is not a whole number"_s;
    }

    void badSourceNamesAreRefused()
    {
        QFETCH(QByteArray, json);
        QFETCH(QByteArray, csv);
        QFETCH(QString, jsonProblem);
        QFETCH(QString, csvProblem);
        QCOMPARE(problemTexts(readShowJson(json)), QStringList(jsonProblem));
        QCOMPARE(problemTexts(readShowCsv(csv, 20)), QStringList(csvProblem));
    }

    void csvOfNoButtonsIsTheHeader()
    {
        QCOMPARE(writeShowCsv(ShowFile{}), "bus,shift,button,source,name\n"_ba);
        const ShowFileResult read = readShowCsv("bus,shift,button,source,name\n"_ba, 15);
        QVERIFY(read.file);
        QVERIFY(read.file->buttons.isEmpty());
        QCOMPARE(read.file->buttonCount, 15);
        QVERIFY(readShowCsv("bus,shift,button,source,name"_ba, 15).file);
    }

    void jsonEscapesOnlyWhatItMust()
    {
        ShowFile file;
        file.buttons = {{Bus::me1, 1, 1, 7, u"a\"b\\c/d\ne\rf\tg\bh\fi\x01j\x1fk\x7fl"_s},
                        {Bus::me1, 1, 2, 8, u"Kamera Süd – 東京 🎥"_s}};
        const QByteArray json = writeShowJson(file);
        QVERIFY2(json.contains("\"name\": \"a\\\"b\\\\c/d\\ne\\rf\\tg\\bh\\fi\\u0001j\\u001fk"
                               "\x7f"
                               "l\" }"),
                 json.constData());
        // Non-ASCII stays as it is, in UTF-8.
        QVERIFY(json.contains(u"\"name\": \"Kamera Süd – 東京 🎥\" }"_s.toUtf8()));
    }

    void csvQuotesOnlyWhatItMust()
    {
        const QList<ShowButton> buttons{
            {Bus::me1, 1, 1, 1, u"plain text; with 'apostrophes' and  blanks "_s},
            {Bus::me1, 1, 2, 2, u"comma,inside"_s},
            {Bus::me1, 1, 3, 3, u"say \"hi\""_s},
            {Bus::me1, 1, 4, 4, u"two\nlines"_s},
            {Bus::me1, 1, 5, 5, u"carriage\rreturn"_s},
            {Bus::me1, 1, 6, 6, u"Süd"_s},
        };
        const QByteArray expected = "bus,shift,button,source,name\n"
                                    "ME1,1,1,1,plain text; with 'apostrophes' and  blanks \n"
                                    "ME1,1,2,2,\"comma,inside\"\n"
                                    "ME1,1,3,3,\"say \"\"hi\"\"\"\n"
                                    "ME1,1,4,4,\"two\nlines\"\n"
                                    "ME1,1,5,5,\"carriage\rreturn\"\n"
                                    "ME1,1,6,6,S\xc3\xbc"
                                    "d\n"_ba;
        QCOMPARE(writeShowCsv(withButtons(buttons)), expected);
    }

    // ---- Round trips -------------------------------------------------------------------

    void roundTrip_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("empty") << QString();
        QTest::newRow("plain") << u"CAM 7"_s;
        QTest::newRow("comma") << u"Bars, HD"_s;
        QTest::newRow("quotes") << u"\"quoted\" and a \" alone"_s;
        QTest::newRow("only a quote") << u"\""_s;
        QTest::newRow("backslashes") << u"C:\\clips\\"_s;
        QTest::newRow("LF") << u"two\nlines"_s;
        QTest::newRow("CRLF") << u"two\r\nlines\r\n"_s;
        QTest::newRow("CR") << u"\rcarriage"_s;
        QTest::newRow("controls") << u"\x01\x1f\t\b\f"_s;
        QTest::newRow("unicode") << u"Kamera Süd – 東京 🎥"_s;
        QTest::newRow("blanks kept") << u"  padded  "_s;
        QTest::newRow("looks like a row") << u"ME1,1,1,5,x\nPGM,1,1,5,y"_s;
        QTest::newRow("looks like json") << u"\" }, { \"bus\": \"PGM"_s;
        QTest::newRow("byte order mark first") << u"\ufeffCAM 7"_s;
        QTest::newRow("only a byte order mark") << u"\ufeff"_s;
        QTest::newRow("NUL") << u"A"_s + QChar(u'\0') + u"B"_s;
    }

    void roundTrip()
    {
        QFETCH(QString, name);
        ShowFile file = sampleFile();
        file.frameName = name; // the frame's name goes through the same escaping
        file.buttons[1].name = name;
        file.buttons[2].name = name + name;

        const QByteArray json = writeShowJson(file);
        const ShowFileResult fromJson = readShowJson(json);
        QCOMPARE(problemTexts(fromJson), QStringList());
        QVERIFY(fromJson.file);
        QCOMPARE(*fromJson.file, file);
        QCOMPARE(writeShowJson(*fromJson.file), json);

        const QByteArray csv = writeShowCsv(file);
        const ShowFileResult fromCsv = readShowCsv(csv, file.buttonCount);
        QCOMPARE(problemTexts(fromCsv), QStringList());
        QVERIFY(fromCsv.file);
        QCOMPARE(fromCsv.file->buttons, file.buttons);
        QCOMPARE(writeShowCsv(*fromCsv.file), csv);
    }

    void canonicalFilesAreRewrittenByteForByte()
    {
        const ShowFileResult fromJson = readShowJson(sampleJson);
        QVERIFY(fromJson.file);
        QCOMPARE(*fromJson.file, sampleFile());
        QCOMPARE(writeShowJson(*fromJson.file), sampleJson);

        const ShowFileResult fromCsv = readShowCsv(sampleCsv, 20);
        QVERIFY(fromCsv.file);
        QCOMPARE(fromCsv.file->buttons, sampleFile().buttons);
        QCOMPARE(writeShowCsv(*fromCsv.file), sampleCsv);
    }

    void csvCarriesNoFrameDescription()
    {
        const ShowFileResult read = readShowCsv(sampleCsv, 25);
        QVERIFY(read.file);
        QCOMPARE(read.file->buttonCount, 25);
        QCOMPARE(read.file->suite, 1);
        QVERIFY(read.file->frameName.isEmpty());
        QVERIFY(read.file->frameVersion.isEmpty());
        QVERIFY(read.file->frameAddress.isEmpty());
    }

    void everyBusShiftAndButtonRoundTrips()
    {
        ShowFile file;
        file.buttonCount = 35;
        qint64 source = 0;
        for (Bus bus : allBuses) {
            for (int shift = 1; shift <= 4; ++shift) {
                for (int button = 1; button <= 35; ++button)
                    file.buttons.append({bus, shift, button, source++ * 61 % 65536, {}});
            }
        }
        const ShowFileResult fromJson = readShowJson(writeShowJson(file));
        QVERIFY(fromJson.file);
        QCOMPARE(fromJson.file->buttons.size(), 6 * 4 * 35);
        QCOMPARE(*fromJson.file, file);
        const ShowFileResult fromCsv = readShowCsv(writeShowCsv(file), 35);
        QVERIFY(fromCsv.file);
        QCOMPARE(fromCsv.file->buttons, file.buttons);
    }

    // ---- Order -------------------------------------------------------------------------

    void sortsByBusThenShiftThenButton()
    {
        QList<ShowButton> buttons{
            {Bus::aux, 1, 1, 1, {}},  {Bus::pgm, 1, 1, 2, {}},  {Bus::me4, 1, 1, 3, {}},
            {Bus::me1, 2, 1, 4, {}},  {Bus::me1, 1, 10, 5, {}}, {Bus::me1, 1, 9, 6, {}},
            {Bus::me3, 4, 35, 7, {}}, {Bus::me2, 1, 1, 8, {}},
        };
        sortButtons(buttons);
        QList<qint64> sources;
        for (const ShowButton& button : buttons)
            sources.append(button.source);
        QCOMPARE(sources, QList<qint64>({6, 5, 4, 8, 7, 3, 2, 1}));
    }

    void writersSortAndReadersReturnSorted()
    {
        ShowFile shuffled = sampleFile();
        std::reverse(shuffled.buttons.begin(), shuffled.buttons.end());
        QCOMPARE(writeShowJson(shuffled), sampleJson);
        QCOMPARE(writeShowCsv(shuffled), sampleCsv);

        const QByteArray csv = "bus,shift,button,source,name\n"
                               "AUX,1,1,3,\nPGM,1,1,2,\nME4,1,1,1,\n"_ba;
        const ShowFileResult read = readShowCsv(csv, 15);
        QVERIFY(read.file);
        QCOMPARE(read.file->buttons,
                 QList<ShowButton>(
                     {{Bus::me4, 1, 1, 1, {}}, {Bus::pgm, 1, 1, 2, {}}, {Bus::aux, 1, 1, 3, {}}}));

        const ShowFileResult json =
            readShowJson(sampleJsonWith(R"("bus": "ME1", "shift": 1, "button": 1)",
                                        R"("bus": "AUX", "shift": 4, "button": 19)"));
        QVERIFY(json.file);
        QCOMPARE(json.file->buttons.last().button, 20);
        QCOMPARE(json.file->buttons[2].button, 19);
    }

    // ---- Reading JSON written by other hands ------------------------------------------

    void jsonInAnotherLayoutIsAccepted()
    {
        const QByteArray json = R"json(

{"buttons":[{"name":"CAM 1","source":1042,"button":1,"shift":1,"bus":"ME1"}],
 "buttonCount":15,"suite":4,
 "frame":{"address":"","version":"","name":"K"},"version":1,"format":"quorvane-show"})json"_ba;
        const ShowFileResult read = readShowJson(json);
        QCOMPARE(problemTexts(read), QStringList());
        QVERIFY(read.file);
        QCOMPARE(read.file->frameName, u"K"_s);
        QCOMPARE(read.file->suite, 4);
        QCOMPARE(read.file->buttonCount, 15);
        QCOMPARE(read.file->buttons, QList<ShowButton>({{Bus::me1, 1, 1, 1042, u"CAM 1"_s}}));
    }

    void byteOrderMarkIsSkipped()
    {
        const ShowFileResult json = readShowJson(byteOrderMark + sampleJson);
        QVERIFY(json.file);
        QCOMPARE(*json.file, sampleFile());
        const ShowFileResult csv = readShowCsv(byteOrderMark + sampleCsv, 20);
        QVERIFY(csv.file);
        QCOMPARE(csv.file->buttons, sampleFile().buttons);
    }

    // A name reads the same from either format, however it was typed: QJsonDocument on its own
    // drops a byte order mark that opens a string.
    void aByteOrderMarkOpeningANameIsKept_data()
    {
        QTest::addColumn<QByteArray>("typed");
        QTest::newRow("as UTF-8") << byteOrderMark + "CAM 7";
        QTest::newRow("escaped") << "\\ufeffCAM 7"_ba;
        QTest::newRow("escaped in capitals") << "\\uFEFFCAM 7"_ba;
    }

    void aByteOrderMarkOpeningANameIsKept()
    {
        QFETCH(QByteArray, typed);
        const QString name = u"\ufeffCAM 7"_s;
        const ShowFileResult json = readShowJson(sampleJsonWith("\"CAM 7\"", '"' + typed + '"'));
        QCOMPARE(problemTexts(json), QStringList());
        QCOMPARE(json.file->buttons[2].name, name);

        const QByteArray csv =
            QByteArray(sampleCsv).replace(",CAM 7", QByteArray(',' + byteOrderMark + "CAM 7"));
        const ShowFileResult fromCsv = readShowCsv(csv, 20);
        QCOMPARE(problemTexts(fromCsv), QStringList());
        QCOMPARE(fromCsv.file->buttons[2].name, name);
    }

    // Control characters are text like any other, NUL included: JSON holds them escaped (as it
    // must: a raw one is refused), CSV raw.
    void aNulByteInANameIsKept()
    {
        const QString name = u"CAM"_s + QChar(u'\0') + u"7"_s;
        const QByteArray raw = "CAM"_ba.append('\0').append('7');
        const ShowFileResult json = readShowJson(sampleJsonWith("CAM 7", "CAM\\u00007"_ba));
        QCOMPARE(problemTexts(json), QStringList());
        QCOMPARE(json.file->buttons[2].name, name);
        const ShowFileResult csv = readShowCsv(QByteArray(sampleCsv).replace("CAM 7", raw), 20);
        QCOMPARE(problemTexts(csv), QStringList());
        QCOMPARE(csv.file->buttons[2].name, name);
    }

    void wholeNumbersMayBeWrittenAsDecimals()
    {
        const ShowFileResult read =
            readShowJson(sampleJsonWith(R"("shift": 1, "button": 7, "source": 1042)",
                                        R"("shift": 1.0, "button": 7, "source": 1.042e3)"));
        QCOMPARE(problemTexts(read), QStringList());
        QVERIFY(read.file);
        QCOMPARE(*read.file, sampleFile());
    }

    // ---- Refusing JSON -----------------------------------------------------------------

    void refusesJson_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<QStringList>("problems");

        QTest::newRow("unknown bus")
            << sampleJsonWith(R"("bus": "PGM")", R"("bus": "ME5")")
            << QStringList(u"line 10 (buttons[2]): unknown bus \"ME5\" "_s + busList);
        QTest::newRow("bus in lower case")
            << sampleJsonWith(R"("bus": "PGM")", R"("bus": "pgm")")
            << QStringList(u"line 10 (buttons[2]): unknown bus \"pgm\" "_s + busList);
        QTest::newRow("shift 5") << sampleJsonWith(R"("shift": 2)", R"("shift": 5)")
                                 << QStringList(u"line 9 (buttons[1]): shift 5 is outside 1-4"_s);
        QTest::newRow("shift 0") << sampleJsonWith(R"("shift": 2)", R"("shift": 0)")
                                 << QStringList(u"line 9 (buttons[1]): shift 0 is outside 1-4"_s);
        QTest::newRow("button above the count")
            << sampleJsonWith(R"("button": 20)", R"("button": 21)")
            << QStringList(u"line 11 (buttons[3]): button 21 is outside 1-20"_s);
        QTest::newRow("button 0") << sampleJsonWith(R"("button": 20)", R"("button": 0)")
                                  << QStringList(
                                         u"line 11 (buttons[3]): button 0 is outside 1-20"_s);
        QTest::newRow("button beyond a smaller count")
            << sampleJsonWith(R"("buttonCount": 20)", R"("buttonCount": 15)")
            << QStringList(u"line 11 (buttons[3]): button 20 is outside 1-15"_s);
        QTest::newRow("source 65536")
            << sampleJsonWith("65535", "65536")
            << QStringList(u"line 11 (buttons[3]): source 65536 is outside 0-65535"_s);
        QTest::newRow("source -1")
            << sampleJsonWith(R"("source": 0)", R"("source": -1)")
            << QStringList(u"line 9 (buttons[1]): source -1 is outside 0-65535"_s);
        QTest::newRow("source huge")
            << sampleJsonWith(R"("source": 0)", R"("source": 1e300)")
            << QStringList(u"line 9 (buttons[1]): source 1e+300 is outside 0-65535"_s);
        QTest::newRow("button count 30")
            << sampleJsonWith(R"("buttonCount": 20)", R"("buttonCount": 30)")
            << QStringList(u"line 6: button count 30 is not 15, 20, 25 or 35"_s);
        QTest::newRow("suite 5") << sampleJsonWith(R"("suite": 2)", R"("suite": 5)")
                                 << QStringList(u"line 5: suite 5 is outside 1-4"_s);
        QTest::newRow("suite 0") << sampleJsonWith(R"("suite": 2)", R"("suite": 0)")
                                 << QStringList(u"line 5: suite 0 is outside 1-4"_s);
        QTest::newRow("duplicate button")
            << sampleJsonWith(R"("bus": "PGM", "shift": 1, "button": 7)",
                              R"("bus": "ME1", "shift": 1, "button": 1)")
            << QStringList(u"line 10 (buttons[2]): ME1 shift 1 button 1 is listed twice "
                           u"(first at buttons[0], line 8)"_s);
        QTest::newRow("shift as text")
            << sampleJsonWith(R"("shift": 2)", R"("shift": "2")")
            << QStringList(u"line 9 (buttons[1]): \"shift\" must be a whole number, "
                           u"found text \"2\""_s);
        QTest::newRow("source with a fraction")
            << sampleJsonWith(R"("source": 0)", R"("source": 0.5)")
            << QStringList(u"line 9 (buttons[1]): \"source\" must be a whole number, "
                           u"found 0.5"_s);
        QTest::newRow("button null")
            << sampleJsonWith(R"("button": 5)", R"("button": null)")
            << QStringList(u"line 9 (buttons[1]): \"button\" must be a whole number, "
                           u"found null"_s);
        QTest::newRow("bus as a number")
            << sampleJsonWith(R"("bus": "PGM")", R"("bus": 4)")
            << QStringList(u"line 10 (buttons[2]): \"bus\" must be text, found 4"_s);
        QTest::newRow("name as true")
            << sampleJsonWith(R"("name": "")", R"("name": true)")
            << QStringList(u"line 9 (buttons[1]): \"name\" must be text, found true"_s);
        QTest::newRow("unknown key in a button")
            << sampleJsonWith(R"("name": "CAM 7")", R"("name": "CAM 7", "colour": "red")")
            << QStringList(u"line 10 (buttons[2]): unknown key \"colour\""_s);
        QTest::newRow("key given twice")
            << sampleJsonWith(R"("source": 1042, "name": "CAM 7")",
                              R"("source": 1042, "source": 5, "name": "CAM 7")")
            << QStringList(u"line 10 (buttons[2]): key \"source\" is given twice"_s);
        QTest::newRow("button not an object")
            << sampleJsonWith(
                   R"({ "bus": "ME4", "shift": 2, "button": 5, "source": 0, "name": "" })", "17")
            << QStringList(u"line 9 (buttons[1]): a button must be an object, found 17"_s);
        QTest::newRow("buttons not a list")
            << QByteArray(R"({ "format": "quorvane-show", "version": 1,
  "frame": { "name": "", "version": "", "address": "" },
  "suite": 1, "buttonCount": 15, "buttons": {} })")
            << QStringList(u"line 3: \"buttons\" must be a list, found an object"_s);
        QTest::newRow("frame not an object")
            << sampleJsonWith(
                   R"({ "name": "KF-STUDIO-A", "version": "V21.2", "address": "10.1.20.5" })",
                   R"("KF")")
            << QStringList(u"line 4: \"frame\" must be an object, found text \"KF\""_s);
        QTest::newRow("frame without an address")
            << sampleJsonWith(R"(, "address": "10.1.20.5")", "")
            << QStringList(u"line 4 (frame): missing key \"address\""_s);
        QTest::newRow("frame version as a number")
            << sampleJsonWith(R"("V21.2")", "21.2")
            << QStringList(u"line 4 (frame): \"version\" must be text, found 21.2"_s);
        QTest::newRow("missing suite") << sampleJsonWith("  \"suite\": 2,\n", "")
                                       << QStringList(u"line 1: missing key \"suite\""_s);
        QTest::newRow("unknown top-level key")
            << sampleJsonWith(R"("suite": 2,)", R"("suite": 2, "studio": "A",)")
            << QStringList(u"line 5: unknown key \"studio\""_s);
        QTest::newRow("top-level key given twice")
            << sampleJsonWith(R"("suite": 2,)", R"("suite": 2, "suite": 2,)")
            << QStringList(u"line 5: key \"suite\" is given twice"_s);
        QTest::newRow("another format")
            << sampleJsonWith("quorvane-show", "vendor-show")
            << QStringList(u"line 2: not a Quorvane show file: \"format\" is text "
                           u"\"vendor-show\", expected \"quorvane-show\""_s);
        QTest::newRow("no format")
            << QByteArray("{\n  \"layout\": [],\n  \"version\": 1\n}\n")
            << QStringList(u"line 1: not a Quorvane show file: it has no \"format\""_s);
        QTest::newRow("later version")
            << sampleJsonWith(R"("version": 2)", R"("version": 3, "more": true)")
            << QStringList(u"line 3: version 3 is not supported (this program reads versions 1 "
                           u"to 2)"_s);
        QTest::newRow("version 0")
            << sampleJsonWith(R"("version": 2)", R"("version": 0)")
            << QStringList(u"line 3: version 0 is not supported (this program reads versions 1 "
                           u"to 2)"_s);
        QTest::newRow("version as text")
            << sampleJsonWith(R"("version": 2)", R"("version": "1")")
            << QStringList(u"line 3: \"version\" must be a whole number, found text \"1\""_s);
        QTest::newRow("no version") << sampleJsonWith("  \"version\": 2,\n", "")
                                    << QStringList(u"line 1: missing key \"version\""_s);
        QTest::newRow("a list, not an object") << QByteArray("\n[ 1, 2 ]\n")
                                               << QStringList(u"line 2: a show file is one JSON "
                                                              u"object, found a list"_s);
        QTest::newRow("empty") << QByteArray() << QStringList(u"the file is empty"_s);
        QTest::newRow("blank") << QByteArray(" \n\t\r\n") << QStringList(u"the file is empty"_s);
        QTest::newRow("not UTF-8") << sampleJsonWith("CAM 7", "CAM \xff")
                                   << QStringList(u"line 10: the text is not valid UTF-8"_s);
        QTest::newRow("cut UTF-8 sequence")
            << sampleJsonWith("CAM 1", "CAM \xc3")
            << QStringList(u"line 8: the text is not valid UTF-8"_s);
        QTest::newRow("escaped key given twice")
            << sampleJsonWith(R"("source": 0,)", R"("source": 0, "s\u006furce": 0,)")
            << QStringList(u"line 9 (buttons[1]): key \"source\" is given twice"_s);

        // Hostile files: each is one clear line, never a crash.
        QTest::newRow("two byte order marks")
            << byteOrderMark + byteOrderMark + "{}"
            << QStringList(u"line 1: the file starts with 2 byte order marks; one at most may "
                           u"stand before the text"_s);
        QTest::newRow("three byte order marks before a good file")
            << byteOrderMark + byteOrderMark + byteOrderMark + sampleJson
            << QStringList(u"line 1: the file starts with 3 byte order marks; one at most may "
                           u"stand before the text"_s);
        QTest::newRow("only a byte order mark") << byteOrderMark + " \n"
                                                << QStringList(u"the file is empty"_s);
        QTest::newRow("a byte order mark after white space")
            << "\n"_ba + byteOrderMark + "{}"
            << QStringList(u"line 2: not valid JSON: illegal value"_s);
        QTest::newRow("lone surrogate in a name")
            << sampleJsonWith(R"("name": "CAM 7")", R"("name": "CAM \ud800 7")")
            << QStringList(u"line 10 (buttons[2]): \"name\" holds a lone surrogate, which is no "
                           u"character: \"CAM \\ud800 7\""_s);
        QTest::newRow("lone low surrogate in the frame's name")
            << sampleJsonWith("KF-STUDIO-A", R"(\udc00)")
            << QStringList(u"line 4 (frame): \"name\" holds a lone surrogate, which is no "
                           u"character: \"\\udc00\""_s);
        QTest::newRow("surrogates the wrong way round")
            << sampleJsonWith(R"("name": "CAM 7")", R"("name": "\udc00\ud800")")
            << QStringList(u"line 10 (buttons[2]): \"name\" holds a lone surrogate, which is no "
                           u"character: \"\\udc00\\ud800\""_s);
        QTest::newRow("nested deeper than JSON readers go")
            << QByteArray(2000, '[') + QByteArray(2000, ']')
            << QStringList(u"line 1: not valid JSON: too deeply nested document"_s);
        QTest::newRow("nested deep in a button")
            << sampleJsonWith(R"("name": "CAM 7")",
                              "\"name\": " + QByteArray(500, '[') + QByteArray(500, ']'))
            << QStringList(u"line 10 (buttons[2]): \"name\" must be text, found a list"_s);
        QTest::newRow("a number beyond any double")
            << sampleJsonWith(R"("source": 0)", R"("source": 1e400)")
            << QStringList(u"line 9: not valid JSON: illegal number"_s);
        QTest::newRow("a whole number of 400 digits")
            << sampleJsonWith(R"("source": 0)", "\"source\": " + QByteArray(400, '9'))
            << QStringList(u"line 9: not valid JSON: illegal number"_s);
        QTest::newRow("a NUL byte between values")
            << sampleJsonWith(R"("suite": 2,)", R"("suite": 2,)"_ba.append('\0'))
            << QStringList(u"line 5: not valid JSON: unterminated object"_s);
        QTest::newRow("line break in an unknown bus")
            << sampleJsonWith(R"("bus": "PGM")", R"("bus": "PGM\n\tX\u0000\u2028")")
            << QStringList(u"line 10 (buttons[2]): unknown bus \"PGM\\n\\tX\\u0000\\u2028\" "_s +
                           busList);
        QTest::newRow("a very long unknown bus")
            << sampleJsonWith(R"("bus": "PGM")", "\"bus\": \"" + QByteArray(100'000, 'X') + '"')
            << QStringList(u"line 10 (buttons[2]): unknown bus \""_s + QString(40, u'X') +
                           u"\u2026\" "_s + busList);
        QTest::newRow("line breaks in an unknown key")
            << sampleJsonWith(R"("suite": 2,)", R"("suite": 2, "a\nb\r": 1,)")
            << QStringList(u"line 5: unknown key \"a\\nb\\r\""_s);
        // QJsonDocument would read these, dropping the backslash or keeping the raw byte.
        const QString unknownEscape =
            u"line 10: not valid JSON: a string holds the escape %1, which JSON does not know (a "
            u"backslash is written \\\\)"_s;
        QTest::newRow("escape \\U") << sampleJsonWith("CAM 7", R"(A\U0041B)")
                                    << QStringList(unknownEscape.arg(u"\\U"_s));
        QTest::newRow("escape \\x") << sampleJsonWith("CAM 7", R"(A\x41B)")
                                    << QStringList(unknownEscape.arg(u"\\x"_s));
        QTest::newRow("escape \\q") << sampleJsonWith("CAM 7", R"(A\qB)")
                                    << QStringList(unknownEscape.arg(u"\\q"_s));
        QTest::newRow("a lone backslash") << sampleJsonWith("CAM 7", R"(CAM \ 7)")
                                          << QStringList(unknownEscape.arg(u"\\ "_s));
        QTest::newRow("\\u without four digits")
            << sampleJsonWith("CAM 7", R"(CAM \u12 7)")
            << QStringList(unknownEscape.arg(u"\\u12"_s));
        QTest::newRow("an escaped character beyond ASCII")
            << sampleJsonWith("CAM 7", "CAM \\\xc3\xa9")
            << QStringList(unknownEscape.arg(u"\\\u00e9"_s));
        QTest::newRow("a raw tab in a name")
            << sampleJsonWith("CAM 7", "CAM\t7")
            << QStringList(u"line 10: not valid JSON: a string holds a raw control character "
                           u"(\\t), which JSON writes as an escape"_s);
        QTest::newRow("a raw line break in a key")
            << sampleJsonWith(R"("suite": 2,)", "\"sui\nte\": 2,")
            << QStringList(u"line 5: not valid JSON: a string holds a raw control character "
                           u"(\\n), which JSON writes as an escape"_s);
        QTest::newRow("a raw NUL in the frame's name")
            << sampleJsonWith("KF-STUDIO-A", "KF"_ba.append('\0'))
            << QStringList(u"line 4: not valid JSON: a string holds a raw control character "
                           u"(\\u0000), which JSON writes as an escape"_s);
        QTest::newRow("a key given twice under a key with a line break")
            << sampleJsonWith(R"("suite": 2,)", R"("suite": 2, "x\ny": { "a": 1, "a": 2 },)")
            << QStringList({u"line 5: unknown key \"x\\ny\""_s,
                            u"line 5 (x\\ny): key \"a\" is given twice"_s});
    }

    void refusesJson()
    {
        QFETCH(QByteArray, json);
        QFETCH(QStringList, problems);
        const ShowFileResult read = readShowJson(json);
        QCOMPARE(problemTexts(read), problems);
        QVERIFY(!read.file);
    }

    void malformedJsonGivesTheLineOfTheFault()
    {
        const ShowFileResult read = readShowJson(sampleJsonWith("CAM 7\" },", "CAM 7\" }"));
        QCOMPARE(read.problems.size(), 1);
        QCOMPARE(read.problems[0].line, 11);
        QVERIFY2(read.problems[0].reason.startsWith(u"not valid JSON: "_s),
                 qPrintable(read.problems[0].reason));
        QVERIFY(!read.file);

        const ShowFileResult cut = readShowJson(sampleJson.left(sampleJson.indexOf("\"PGM\"")));
        QCOMPARE(cut.problems.size(), 1);
        QCOMPARE(cut.problems[0].line, 10);
        QVERIFY(!cut.file);
    }

    void problemsInALongButtonPointAtTheirField()
    {
        const QByteArray json = R"json({
  "format": "quorvane-show", "version": 1,
  "frame": { "name": "", "version": "", "address": "" },
  "suite": 1, "buttonCount": 15,
  "buttons": [
    {
      "bus": "ME1",
      "shift": 9,
      "button": 1,
      "source": 5,
      "name": ""
    },
    {
      "bus": "ME1", "shift": 1, "button": 1
    }
  ]
})json"_ba;
        QCOMPARE(problemTexts(readShowJson(json)),
                 QStringList({u"line 8 (buttons[0]): shift 9 is outside 1-4"_s,
                              u"line 13 (buttons[1]): missing key \"source\""_s}));
    }

    void everyJsonProblemIsReported()
    {
        QByteArray json = sampleJson;
        json.replace(R"("suite": 2)", R"("suite": 9)")
            .replace(R"("address": "10.1.20.5")", R"("address": 10)")
            .replace(R"("shift": 2)", R"("shift": 7)")
            .replace(R"("source": 0)", R"("source": 70000)")
            .replace(R"("bus": "PGM")", R"("bus": "PVW")")
            .replace(R"("button": 20)", R"("button": 1)")
            .replace(R"("bus": "AUX", "shift": 4)", R"("bus": "ME1", "shift": 1)");
        const ShowFileResult read = readShowJson(json);
        QCOMPARE(problemTexts(read),
                 QStringList({
                     u"line 4 (frame): \"address\" must be text, found 10"_s,
                     u"line 5: suite 9 is outside 1-4"_s,
                     u"line 9 (buttons[1]): shift 7 is outside 1-4"_s,
                     u"line 9 (buttons[1]): source 70000 is outside 0-65535"_s,
                     u"line 10 (buttons[2]): unknown bus \"PVW\" "_s + busList,
                     u"line 11 (buttons[3]): ME1 shift 1 button 1 is listed twice "
                     u"(first at buttons[0], line 8)"_s,
                 }));
        QVERIFY(!read.file);
    }

    void buttonsAreCheckedEvenWhenTheCountIsWrong()
    {
        QByteArray json = sampleJson;
        json.replace(R"("buttonCount": 20)", R"("buttonCount": "20")")
            .replace(R"("button": 20)", R"("button": 36)");
        QCOMPARE(problemTexts(readShowJson(json)),
                 QStringList({u"line 6: \"buttonCount\" must be a whole number, found text "
                              u"\"20\""_s,
                              u"line 11 (buttons[3]): button 36 is outside 1-35"_s}));
    }

    // ---- Refusing CSV ------------------------------------------------------------------

    void refusesCsv_data()
    {
        QTest::addColumn<QByteArray>("csv");
        QTest::addColumn<int>("buttonCount");
        QTest::addColumn<QStringList>("problems");

        const QByteArray head = "bus,shift,button,source,name\n"_ba;
        QTest::newRow("unknown bus")
            << head + "ME1,1,1,5,\nME7,1,2,5,\n"
            << 20 << QStringList(u"line 3: unknown bus \"ME7\" "_s + busList);
        QTest::newRow("shift 5") << head + "ME1,5,1,5,x\n"
                                 << 20 << QStringList(u"line 2: shift 5 is outside 1-4"_s);
        QTest::newRow("shift 0") << head + "ME1,0,1,5,x\n"
                                 << 20 << QStringList(u"line 2: shift 0 is outside 1-4"_s);
        QTest::newRow("button above the count")
            << head + "ME1,1,21,5,x\n"
            << 20 << QStringList(u"line 2: button 21 is outside 1-20"_s);
        QTest::newRow("button 0") << head + "ME1,1,0,5,x\n"
                                  << 35 << QStringList(u"line 2: button 0 is outside 1-35"_s);
        QTest::newRow("source 65536")
            << head + "ME1,1,1,65536,x\n"
            << 20 << QStringList(u"line 2: source 65536 is outside 0-65535"_s);
        QTest::newRow("source -1") << head + "ME1,1,1,-1,x\n"
                                   << 20 << QStringList(u"line 2: source -1 is outside 0-65535"_s);
        QTest::newRow("source beyond 64 bits")
            << head + "ME1,1,1,123456789012345678901234567890,x\n"
            << 20
            << QStringList(u"line 2: source 123456789012345678901234567890 is outside 0-65535"_s);
        QTest::newRow("source not a number")
            << head + "ME1,1,1,CAM1,x\n"
            << 20 << QStringList(u"line 2: source \"CAM1\" is not a whole number"_s);
        QTest::newRow("shift with a blank")
            << head + "ME1, 1,1,5,x\n"
            << 20 << QStringList(u"line 2: shift \" 1\" is not a whole number"_s);
        QTest::newRow("button with a plus") << head + "ME1,1,+1,5,x\n"
                                            << 20
                                            << QStringList(u"line 2: button \"+1\" is not a "
                                                           u"whole number"_s);
        QTest::newRow("source with a fraction")
            << head + "ME1,1,1,5.0,x\n"
            << 20 << QStringList(u"line 2: source \"5.0\" is not a whole number"_s);
        QTest::newRow("empty shift")
            << head + "ME1,,1,5,x\n"
            << 20 << QStringList(u"line 2: shift \"\" is not a whole number"_s);
        QTest::newRow("a minus alone") << head + "ME1,1,1,-,x\n"
                                       << 20
                                       << QStringList(u"line 2: source \"-\" is not a whole "
                                                      u"number"_s);
        QTest::newRow("too few fields")
            << head + "ME1,1,1\n"
            << 20
            << QStringList(u"line 2: expected 5 fields (bus,shift,button,source,name), "
                           u"found 3"_s);
        QTest::newRow("too many fields")
            << head + "ME1,1,1,5,CAM 5,extra\n"
            << 20
            << QStringList(u"line 2: expected 5 fields (bus,shift,button,source,name), "
                           u"found 6"_s);
        QTest::newRow("unquoted comma in a name")
            << head + "ME1,1,1,5,Bars, HD\n"
            << 20
            << QStringList(u"line 2: expected 5 fields (bus,shift,button,source,name), "
                           u"found 6"_s);
        QTest::newRow("duplicate button")
            << head + "ME1,1,1,5,\nME1,1,2,5,\nME1,1,1,6,\n"
            << 20
            << QStringList(u"line 4: ME1 shift 1 button 1 is listed twice (first at line 2)"_s);
        QTest::newRow("no header") << "ME1,1,1,5,x\n"_ba << 20
                                   << QStringList(u"line 1: the first line must be the header "
                                                  u"\"bus,shift,button,source,name\" (the name "
                                                  u"column may be left out)"_s);
        QTest::newRow("header in capitals")
            << "Bus,Shift,Button,Source,Name\nME1,1,1,5,x\n"_ba << 20
            << QStringList(u"line 1: the first line must be the header "
                           u"\"bus,shift,button,source,name\" (the name column may be left "
                           u"out)"_s);
        QTest::newRow("empty") << QByteArray() << 20 << QStringList(u"the file is empty"_s);
        QTest::newRow("only white space")
            << " \r\n\t\n"_ba << 20 << QStringList(u"the file is empty"_s);
        QTest::newRow("only a byte order mark")
            << byteOrderMark << 20 << QStringList(u"the file is empty"_s);
        QTest::newRow("two byte order marks")
            << byteOrderMark + byteOrderMark + head << 20
            << QStringList(u"line 1: the file starts with 2 byte order marks; one at most may "
                           u"stand before the text"_s);
        QTest::newRow("line break in an unknown bus")
            << head + "\"PGM\n\x01\",1,1,5,x\n"
            << 20 << QStringList(u"line 2: unknown bus \"PGM\\n\\u0001\" "_s + busList);
        QTest::newRow("a very long number")
            << head + "ME1,1," + QByteArray(100'000, '9') + ",5,x\n"
            << 20
            << QStringList(u"line 2: button "_s + QString(40, u'9') + u"\u2026 is outside 1-20"_s);
        QTest::newRow("a very long text for a number")
            << head + "ME1,1,1," + QByteArray(1000, 'x') + ",x\n"
            << 20
            << QStringList(u"line 2: source \""_s + QString(40, u'x') +
                           u"\u2026\" is not a whole number"_s);
        QTest::newRow("quoted field never closed")
            << head + "ME1,1,1,5,x\nME1,1,2,5,\"CAM\n5\nME1,1,3,5,x\n"
            << 20 << QStringList(u"line 3: a quoted field is never closed"_s);
        QTest::newRow("text after a closing quote")
            << head + "ME1,1,1,5,\"CAM\" 5\nME1,1,2,5,x\n"
            << 20 << QStringList(u"line 2: text after the closing quote of a field"_s);
        QTest::newRow("quote inside an unquoted field")
            << head + "ME1,1,1,5,CAM \"5\"\n"
            << 20
            << QStringList(u"line 2: a quote inside an unquoted field (quote the field and "
                           u"double the quote)"_s);
        QTest::newRow("carriage return alone")
            << head + "ME1,1,1,5,CAM\r5\n"
            << 20 << QStringList(u"line 2: a carriage return that does not end the line"_s);
        QTest::newRow("not UTF-8") << head + "ME1,1,1,5,x\nME1,1,2,5,\xc0\xaf\n"
                                   << 20 << QStringList(u"line 3: the text is not valid UTF-8"_s);
        QTest::newRow("count 30") << head << 30
                                  << QStringList(u"button count 30 is not 15, 20, 25 or 35"_s);
        QTest::newRow("count 0") << head << 0
                                 << QStringList(u"button count 0 is not 15, 20, 25 or 35"_s);
    }

    void refusesCsv()
    {
        QFETCH(QByteArray, csv);
        QFETCH(int, buttonCount);
        QFETCH(QStringList, problems);
        const ShowFileResult read = readShowCsv(csv, buttonCount);
        QCOMPARE(problemTexts(read), problems);
        QVERIFY(!read.file);
    }

    void everyCsvProblemIsReported()
    {
        const QByteArray csv = "bus,shift,button\n"
                               "ME1,1,1,5,ok\n"
                               "ME9,6,40,99999,all wrong\n"
                               "PGM,1,1,5,\"multi\nline\" x\n"
                               "AUX,1,1,5,ok\n"
                               "ME1,1,1,6,again\n"
                               "PGM,x\n"_ba;
        const ShowFileResult read = readShowCsv(csv, 35);
        QCOMPARE(problemTexts(read),
                 QStringList({
                     u"line 1: the first line must be the header "
                     u"\"bus,shift,button,source,name\" (the name column may be left out)"_s,
                     u"line 3: unknown bus \"ME9\" "_s + busList,
                     u"line 3: shift 6 is outside 1-4"_s,
                     u"line 3: button 40 is outside 1-35"_s,
                     u"line 3: source 99999 is outside 0-65535"_s,
                     u"line 5: text after the closing quote of a field"_s,
                     u"line 7: ME1 shift 1 button 1 is listed twice (first at line 2)"_s,
                     u"line 8: expected 5 fields (bus,shift,button,source,name), found 2"_s,
                 }));
        QVERIFY(!read.file);
    }

    // ---- CSV as other programs write it -----------------------------------------------

    void csvWithCrLfReadsLikeLf()
    {
        QByteArray crlf = sampleCsv;
        crlf.replace("\n", "\r\n");
        const ShowFileResult read = readShowCsv(crlf, 20);
        QCOMPARE(problemTexts(read), QStringList());
        QVERIFY(read.file);
        QCOMPARE(read.file->buttons, sampleFile().buttons);
        QCOMPARE(writeShowCsv(*read.file), sampleCsv);
    }

    void csvKeepsLineBreaksInsideQuotes()
    {
        const QByteArray csv = "bus,shift,button,source,name\r\n"
                               "ME1,1,1,5,\"two\r\nlines\"\r\n"
                               "ME1,1,2,6,\"lf\nonly\"\r\n"
                               "ME1,1,3,7,\"\"\r\n"_ba;
        const ShowFileResult read = readShowCsv(csv, 15);
        QCOMPARE(problemTexts(read), QStringList());
        QVERIFY(read.file);
        QCOMPARE(read.file->buttons, QList<ShowButton>({{Bus::me1, 1, 1, 5, u"two\r\nlines"_s},
                                                        {Bus::me1, 1, 2, 6, u"lf\nonly"_s},
                                                        {Bus::me1, 1, 3, 7, QString()}}));
    }

    void csvLinesCountTheBreaksInsideQuotes()
    {
        const QByteArray csv = "bus,shift,button,source,name\n"
                               "ME1,1,1,5,\"one\ntwo\nthree\"\n"
                               "ME1,9,2,5,x\n"_ba;
        QCOMPARE(problemTexts(readShowCsv(csv, 15)),
                 QStringList(u"line 5: shift 9 is outside 1-4"_s));
    }

    void csvToleratesBlankLinesAndAMissingLastBreak()
    {
        const QByteArray csv = "\r\nbus,shift,button,source,name\n\n"
                               "\"ME1\",\"1\",\"1\",\"5\",\"CAM 5\"\r\n\r\n"
                               "PGM,1,2,0,"_ba;
        const ShowFileResult read = readShowCsv(csv, 15);
        QCOMPARE(problemTexts(read), QStringList());
        QVERIFY(read.file);
        QCOMPARE(read.file->buttons, QList<ShowButton>({{Bus::me1, 1, 1, 5, u"CAM 5"_s},
                                                        {Bus::pgm, 1, 2, 0, QString()}}));
    }

    void csvNumbersMayHaveLeadingZeros()
    {
        const ShowFileResult read =
            readShowCsv("bus,shift,button,source,name\nAUX,04,007,01042,x\n"_ba, 15);
        QVERIFY(read.file);
        QCOMPARE(read.file->buttons, QList<ShowButton>({{Bus::aux, 4, 7, 1042, u"x"_s}}));
    }

    // ---- Problem texts -----------------------------------------------------------------

    void problemText_data()
    {
        QTest::addColumn<int>("line");
        QTest::addColumn<QString>("where");
        QTest::addColumn<QString>("text");
        QTest::newRow("line and place") << 12 << u"buttons[6]"_s << u"line 12 (buttons[6]): why"_s;
        QTest::newRow("line only") << 3 << QString() << u"line 3: why"_s;
        QTest::newRow("place only") << 0 << u"frame"_s << u"(frame): why"_s;
        QTest::newRow("neither") << 0 << QString() << u"why"_s;
    }

    void problemText()
    {
        QFETCH(int, line);
        QFETCH(QString, where);
        QFETCH(QString, text);
        QCOMPARE((ShowFileProblem{line, where, u"why"_s}.text()), text);
    }

    void namesAreEscapedOntoOneLine()
    {
        QCOMPARE(escapedName(u"Kamera Süd 🎥"_s), u"Kamera Süd 🎥"_s);
        const QString controls =
            u"A\tB\nC\r"_s + QChar(0) + u"\u007f\u0085\u2028"_s + QChar(0xd800) + u"!"_s;
        QCOMPARE(escapedName(controls), u"A\\tB\\nC\\r\\u0000\\u007f\\u0085\\u2028\\ud800!"_s);
    }

    // ---- From the frame's mappings ------------------------------------------------------

    void showButtonsTakesOnlyTheCountAndSorts()
    {
        MappingTable mappings;
        const auto add = [&](Bus bus, int count, int shift, int button, qint64 source) {
            mappings.insert(mappingKey(bus, count, shift, button),
                            ButtonMapping{QUuid::createUuid(), bus, shift, button, source});
        };
        add(Bus::aux, 20, 1, 1, 700);
        add(Bus::pgm, 20, 2, 20, 0);
        add(Bus::me4, 20, 1, 3, 1042);
        add(Bus::me1, 35, 1, 1, 9); // another panel
        mappings.insert(mappingKey(Bus::me2, 35, 1, 1),
                        ButtonMapping{QUuid::createUuid(), Bus::me2, 1, 2, 9}); // key disagrees
        add(Bus::me1, 20, 4, 2, 70000);

        QList<int> asked;
        const QList<ShowButton> buttons = showButtons(mappings, 20, [&](int source) {
            asked.append(source);
            return source == 0 ? QString() : u"S"_s + QString::number(source);
        });
        QCOMPARE(buttons, QList<ShowButton>({
                              {Bus::me1, 4, 2, 70000, QString()},
                              {Bus::me4, 1, 3, 1042, u"S1042"_s},
                              {Bus::pgm, 2, 20, 0, QString()},
                              {Bus::aux, 1, 1, 700, u"S700"_s},
                          }));
        std::sort(asked.begin(), asked.end());
        QCOMPARE(asked, QList<int>({0, 700, 1042}));

        const QList<ShowButton> unnamed = showButtons(mappings, 35, {});
        QCOMPARE(unnamed, QList<ShowButton>({{Bus::me1, 1, 1, 9, QString()}}));
        QVERIFY(showButtons(mappings, 15, {}).isEmpty());
    }

    void aMappedSourceAShowFileCannotHoldIsRefusedOnReading()
    {
        const QList<ShowButton> buttons{{Bus::me1, 1, 1, 70000, {}}};
        QCOMPARE(problemTexts(readShowCsv(writeShowCsv(withButtons(buttons)), 20)),
                 QStringList(u"line 2: source 70000 is outside 0-65535"_s));
    }

    // ---- Differences -------------------------------------------------------------------

    void differencesCompareSourcesOnly()
    {
        const QList<ShowButton> frame{
            {Bus::pgm, 1, 1, 30, u"VT 1"_s},  {Bus::me1, 1, 2, 20, u"CAM 2"_s},
            {Bus::me1, 1, 1, 10, u"CAM 1"_s}, {Bus::aux, 1, 1, 0, QString()},
            {Bus::me4, 3, 3, 44, u"same"_s},
        };
        const QList<ShowButton> file{
            {Bus::me1, 1, 1, 10, u"renamed"_s}, // a new name alone is no change
            {Bus::me1, 1, 2, 21, u"CAM 2"_s},
            {Bus::me2, 1, 1, 5, u"GFX"_s},  // the frame has no mapping
            {Bus::me3, 1, 1, 0, QString()}, // absent on the frame, 0 in the file
            {Bus::me4, 3, 3, 44, u"same"_s},
        };
        const QList<ShowDifference> found = differences(frame, file);
        QCOMPARE(found.size(), 3);

        QCOMPARE(found[0].wanted, (ShowButton{Bus::me1, 1, 2, 21, u"CAM 2"_s}));
        QCOMPARE(found[0].current, (std::optional<ShowButton>({Bus::me1, 1, 2, 20, u"CAM 2"_s})));

        QCOMPARE(found[1].wanted, (ShowButton{Bus::me2, 1, 1, 5, u"GFX"_s}));
        QVERIFY(!found[1].current);

        // Not in the file: the file wants it unmapped.
        QCOMPARE(found[2].wanted, (ShowButton{Bus::pgm, 1, 1, 0, QString()}));
        QCOMPARE(found[2].current, (std::optional<ShowButton>({Bus::pgm, 1, 1, 30, u"VT 1"_s})));
    }

    void noDifferencesBetweenEqualMaps()
    {
        QVERIFY(differences(sampleFile().buttons, sampleFile().buttons).isEmpty());
        QVERIFY(differences({}, {}).isEmpty());
        QList<ShowButton> reversed = sampleFile().buttons;
        std::reverse(reversed.begin(), reversed.end());
        QVERIFY(differences(sampleFile().buttons, reversed).isEmpty());
    }

    void differencesFromAnEmptyFrameListEveryMappedButton()
    {
        const QList<ShowDifference> found = differences({}, sampleFile().buttons);
        QCOMPARE(found.size(), 3); // ME4 2 5 is 0 on both sides
        QCOMPARE(found[0].wanted.bus, Bus::me1);
        QCOMPARE(found[1].wanted.bus, Bus::pgm);
        QCOMPARE(found[2].wanted.bus, Bus::aux);
        for (const ShowDifference& difference : found)
            QVERIFY(!difference.current);
    }
};

QTEST_GUILESS_MAIN(TestShowFile)
#include "tst_show_file.moc"
