// Two show files compared with each other, no frame contacted: the report and exit codes of a
// diff against the frame, each side named by its file.
#include "cli_frame_support.h"
#include "cli_runner.h"

#include <QTemporaryDir>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::test;

namespace {

ShowFile yesterday()
{
    ShowFile file;
    file.frameName = u"K-Frame XP"_s;
    file.buttonCount = 20;
    file.buttons = {{Bus::me1, 1, 1, 7, u"CAM 7"_s},
                    {Bus::me1, 1, 2, 8, u"CAM 8"_s},
                    {Bus::pgm, 2, 3, 512, {}},
                    {Bus::aux, 4, 20, 12, {}}};
    file.sources = {{512, {u"VT ENG"_s, {}, {}, u"VT 1"_s}}};
    return file;
}

} // namespace

class TestCliFileDiff : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { QVERIFY(m_dir.isValid()); }

    void everyDifferingButtonBothSidesNamed()
    {
        const ShowFile first = yesterday();
        ShowFile second = first;
        second.buttons[0].source = 9; // replaced
        second.buttons[0].name = u"CAM 9"_s;
        second.buttons.removeAt(2);                                // cleared
        second.buttons.append({Bus::pgm, 1, 1, 512, u"Replay"_s}); // assigned
        const QString a = path(u"yesterday.json"_s);
        const QString b = path(u"today.json"_s);
        save(a, writeShowJson(first));
        save(b, writeShowJson(second));

        const ToolRun run = runTool({u"diff"_s, a, b});
        QCOMPARE(run.status, 1);
        QCOMPARE(run.err, QString());
        QCOMPARE(run.outLines(),
                 QStringList({u"ME1 shift 1 button 1: yesterday.json 7 (CAM 7), today.json 9 "
                              u"(CAM 9)"_s,
                              u"PGM shift 1 button 1: yesterday.json 0 (unassigned), today.json "
                              u"512 (VT 1)"_s,
                              u"PGM shift 2 button 3: yesterday.json 512 (VT 1), today.json 0 "
                              u"(unassigned)"_s,
                              u"3 buttons differ on ME1, PGM, AUX"_s}));

        const ToolRun same = runTool({u"diff"_s, a, a});
        QCOMPARE(same.status, 0);
        QCOMPARE(same.outLines(), QStringList(u"no differences on ME1, PGM, AUX"_s));

        // Only the buttons the second file lists, and only the buses named.
        const ToolRun listed = runTool({u"diff"_s, a, b, u"--listed-only"_s, u"--bus"_s, u"me1"_s});
        QCOMPARE(listed.status, 1);
        QCOMPARE(listed.outLines().size(), 2);
        QCOMPARE(listed.outLines().last(), u"1 button differs on ME1"_s);
    }

    void aCsvFileTakesTheOtherFilesWidth()
    {
        const QString json = path(u"a.json"_s);
        const QString csv = path(u"b.csv"_s);
        save(json, writeShowJson(yesterday()));
        save(csv, writeShowCsv(yesterday()));
        const ToolRun run = runTool({u"diff"_s, json, csv});
        QCOMPARE(run.status, 0);
        QCOMPARE(run.out, u"no differences on ME1, PGM, AUX\n"_s);
        // At 35 buttons button 20 is another button: refused rather than compared.
        const ToolRun wider = runTool({u"diff"_s, csv, json, u"--buttons"_s, u"35"_s});
        QCOMPARE(wider.status, 2);
        QCOMPARE(wider.err, u"quorvane-cli: "_s + json +
                                u" is for a 20-button panel, not 35: the same button number "
                                u"names another button\n"_s);
    }

    void refusals()
    {
        const QString a = path(u"a.json"_s);
        save(a, writeShowJson(yesterday()));
        const QString broken = path(u"broken.json"_s);
        save(broken, "{ \"format\": \"quorvane-show\" }\n");

        const ToolRun host = runTool({u"diff"_s, a, a, u"--host"_s, u"10.0.0.1"_s});
        QCOMPARE(host.status, 2);
        QCOMPARE(host.err, u"quorvane-cli: --host does not apply to a diff of two files: they are "
                           u"compared with each other, not with a frame\n"_s);
        const ToolRun invalid = runTool({u"diff"_s, a, broken});
        QCOMPARE(invalid.status, 2);
        QVERIFY(invalid.err.startsWith(u"quorvane-cli: "_s + broken +
                                       u" is not a valid JSON show file: "_s));
        const ToolRun three = runTool({u"diff"_s, a, a, a});
        QCOMPARE(three.status, 2);
        QCOMPARE(three.err, u"quorvane-cli: diff takes one or two show files, got 3\n"_s);
    }

private:
    QString path(const QString& name) const { return m_dir.filePath(name); }

    QTemporaryDir m_dir;
};

QTEST_GUILESS_MAIN(TestCliFileDiff)
#include "tst_cli_file_diff.moc"
