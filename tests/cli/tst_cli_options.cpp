// Reading the command line: defaults, refusals with one clear reason, and the help text.
#include "cli_options.h"
#include "link/host_address.h"
#include "project_info.h"

#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace quorvane;
using namespace quorvane::cli;

namespace {

CliOptions parsed(const QStringList& arguments)
{
    const auto result = parseCliOptions(arguments);
    if (const CliStop* stop = std::get_if<CliStop>(&result))
        qFatal("refused: %s", qPrintable(stop->text));
    return std::get<CliOptions>(result);
}

// The reason a command line is refused, empty when it is taken.
QString refusal(const QStringList& arguments)
{
    const auto result = parseCliOptions(arguments);
    const CliStop* stop = std::get_if<CliStop>(&result);
    if (!stop)
        return QString();
    if (stop->code != ExitCode::usage || stop->toOutput)
        return u"<not a usage error>"_s;
    return stop->text;
}

} // namespace

class TestCliOptions : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void dumpDefaults()
    {
        const CliOptions options = parsed({u"dump"_s, u"--host"_s, u"10.0.0.7"_s});
        QCOMPARE(options.command, Command::dump);
        QCOMPARE(options.host, u"10.0.0.7"_s);
        QCOMPARE(options.suite, std::nullopt);
        QCOMPARE(options.buttonCount, std::nullopt);
        QVERIFY(options.buses.isEmpty());
        QCOMPARE(options.timeout, std::chrono::milliseconds(30'000));
        QCOMPARE(options.format, std::nullopt);
        QVERIFY(options.output.isEmpty());
        QCOMPARE(options.quiet, false);
        QCOMPARE(options.verbose, false);
        QCOMPARE(options.logFile, QString());
        QCOMPARE(options.retries, 3);
        QCOMPARE(options.connectAttempts, 2);
    }

    void everyOptionRead()
    {
        const CliOptions options = parsed({u"apply"_s,
                                           u"show.csv"_s,
                                           u"--host=192.168.1.20"_s,
                                           u"--suite"_s,
                                           u"3"_s,
                                           u"--buttons"_s,
                                           u"20"_s,
                                           u"--bus"_s,
                                           u"pgm"_s,
                                           u"--bus"_s,
                                           u"Me2"_s,
                                           u"--timeout"_s,
                                           u"2.5"_s,
                                           u"--format"_s,
                                           u"CSV"_s,
                                           u"--dry-run"_s,
                                           u"--listed-only"_s,
                                           u"-v"_s,
                                           u"--log"_s,
                                           u"run.log"_s,
                                           u"--retries"_s,
                                           u"0"_s,
                                           u"--connect-attempts"_s,
                                           u"5"_s});
        QCOMPARE(options.command, Command::apply);
        QCOMPARE(options.file, u"show.csv"_s);
        QCOMPARE(options.host, u"192.168.1.20"_s);
        QCOMPARE(options.suite, 3);
        QCOMPARE(options.buttonCount, 20);
        QCOMPARE(options.buses, QList<Bus>({Bus::me2, Bus::pgm}));
        QCOMPARE(options.timeout, std::chrono::milliseconds(2'500));
        QCOMPARE(options.format, ShowFormat::csv);
        QVERIFY(options.dryRun);
        QVERIFY(options.listedOnly);
        QCOMPARE(options.verbose, true);
        QCOMPARE(options.logFile, u"run.log"_s);
        QCOMPARE(options.retries, 0);
        QCOMPARE(options.connectAttempts, 5);
    }

    void allBusesInDisplayOrder()
    {
        const CliOptions options =
            parsed({u"dump"_s, u"--host"_s, u"10.0.0.7"_s, u"--bus"_s, u"ALL"_s});
        QCOMPARE(options.buses, QList<Bus>(allBuses.begin(), allBuses.end()));
        const CliOptions quiet =
            parsed({u"diff"_s, u"f.json"_s, u"--host"_s, u"10.0.0.7"_s, u"--quiet"_s, u"--bus"_s,
                    u"aux"_s, u"--bus"_s, u"me1"_s, u"--bus"_s, u"AUX"_s});
        QCOMPARE(quiet.buses, QList<Bus>({Bus::me1, Bus::aux}));
        QCOMPARE(quiet.quiet, true);
    }

    void outputFile()
    {
        const CliOptions options =
            parsed({u"dump"_s, u"--host"_s, u"10.0.0.7"_s, u"-o"_s, u"backup.json"_s});
        QCOMPARE(options.output, u"backup.json"_s);
    }

    void refusals_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("reason");
        const QString host = u"--host=10.0.0.7"_s;
        QTest::newRow("no command")
            << QStringList{host}
            << u"no command given: use dump, diff, apply or sheet (see --help)"_s;
        QTest::newRow("unknown command")
            << QStringList{u"restore"_s, host}
            << u"unknown command \"restore\": use dump, diff, apply or sheet (see --help)"_s;
        QTest::newRow("unknown option") << QStringList{u"dump"_s, host, u"--colour"_s}
                                        << u"Unknown option 'colour'. (see --help)"_s;
        QTest::newRow("no host") << QStringList{u"dump"_s}
                                 << u"--host is required: the frame's IPv4 address, like "
                                    u"192.168.1.20"_s;
        QTest::newRow("host name")
            << QStringList{u"dump"_s, u"--host"_s, u"frame.local"_s}
            << u"--host \"frame.local\" is not an IPv4 address: write four numbers 0-255 joined "
               u"by dots, like 192.168.1.20"_s;
        QTest::newRow("suite 5") << QStringList{u"dump"_s, host, u"--suite"_s, u"5"_s}
                                 << u"--suite \"5\" is not a suite: use 1, 2, 3 or 4"_s;
        QTest::newRow("30 buttons")
            << QStringList{u"dump"_s, host, u"--buttons"_s, u"30"_s}
            << u"--buttons \"30\" is not a panel width: use 15, 20, 25 or 35"_s;
        QTest::newRow("bus ME5")
            << QStringList{u"dump"_s, host, u"--bus"_s, u"ME5"_s}
            << u"--bus \"ME5\" is not a bus: use ME1, ME2, ME3, ME4, PGM, AUX or all"_s;
        QTest::newRow("timeout 0")
            << QStringList{u"dump"_s, host, u"--timeout"_s, u"0"_s}
            << u"--timeout \"0\" is not a number of seconds above 0 (at most 86400)"_s;
        QTest::newRow("timeout word")
            << QStringList{u"dump"_s, host, u"--timeout"_s, u"soon"_s}
            << u"--timeout \"soon\" is not a number of seconds above 0 (at most 86400)"_s;
        QTest::newRow("format xml")
            << QStringList{u"dump"_s, host, u"--format"_s, u"xml"_s}
            << u"--format \"xml\" is not a show file format: use json or csv"_s;
        QTest::newRow("dump with a file")
            << QStringList{u"dump"_s, u"show.json"_s, host}
            << u"dump takes no file; write the show file with -o FILE"_s;
        QTest::newRow("dump dry run") << QStringList{u"dump"_s, host, u"--dry-run"_s}
                                      << u"--dry-run does not apply to dump"_s;
        QTest::newRow("diff without file")
            << QStringList{u"diff"_s, host}
            << u"diff needs a show file: quorvane-cli diff FILE --host ADDRESS"_s;
        QTest::newRow("apply two files") << QStringList{u"apply"_s, u"a.json"_s, u"b.json"_s, host}
                                         << u"apply takes one show file, got 2"_s;
        QTest::newRow("diff dry run") << QStringList{u"diff"_s, u"a.json"_s, host, u"--dry-run"_s}
                                      << u"--dry-run belongs to apply; diff never writes"_s;
        QTest::newRow("apply output")
            << QStringList{u"apply"_s, u"a.json"_s, host, u"-o"_s, u"x.json"_s}
            << u"-o/--output belongs to dump and sheet; apply writes its result to standard "
               u"output"_s;
        QTest::newRow("retries -1") << QStringList{u"dump"_s, host, u"--retries"_s, u"-1"_s}
                                    << u"--retries \"-1\" is not a whole number from 0 to 20"_s;
        QTest::newRow("retries many") << QStringList{u"dump"_s, host, u"--retries"_s, u"21"_s}
                                      << u"--retries \"21\" is not a whole number from 0 to 20"_s;
        QTest::newRow("no connect attempt")
            << QStringList{u"dump"_s, host, u"--connect-attempts"_s, u"0"_s}
            << u"--connect-attempts \"0\" is not a whole number from 1 to 10"_s;
        QTest::newRow("suite twice")
            << QStringList{u"dump"_s, host, u"--suite"_s, u"1"_s, u"--suite"_s, u"2"_s}
            << u"--suite is given more than once (\"1\", \"2\"): give it once"_s;
        QTest::newRow("host twice")
            << QStringList{u"dump"_s, host, u"--host"_s, u"10.0.0.8"_s}
            << u"--host is given more than once (\"10.0.0.7\", \"10.0.0.8\"): give it once"_s;
        QTest::newRow("output by both names")
            << QStringList{u"dump"_s, host, u"-o"_s, u"a.json"_s, u"--output=b.json"_s}
            << u"-o/--output is given more than once (\"a.json\", \"b.json\"): give it once"_s;
        QTest::newRow("the same retries twice")
            << QStringList{u"dump"_s, host, u"--retries"_s, u"2"_s, u"--retries"_s, u"2"_s}
            << u"--retries is given more than once (\"2\", \"2\"): give it once"_s;
        QTest::newRow("buttons after a space")
            << QStringList{u"dump"_s, host, u"--buttons"_s, u" 35"_s}
            << u"--buttons \" 35\" is not a panel width: use 15, 20, 25 or 35"_s;
        QTest::newRow("buttons with a sign")
            << QStringList{u"dump"_s, host, u"--buttons"_s, u"+35"_s}
            << u"--buttons \"+35\" is not a panel width: use 15, 20, 25 or 35"_s;
        QTest::newRow("suite before a space")
            << QStringList{u"dump"_s, host, u"--suite"_s, u"2 "_s}
            << u"--suite \"2 \" is not a suite: use 1, 2, 3 or 4"_s;
        QTest::newRow("retries after a space")
            << QStringList{u"dump"_s, host, u"--retries"_s, u" 2"_s}
            << u"--retries \" 2\" is not a whole number from 0 to 20"_s;
        QTest::newRow("timeout after a space")
            << QStringList{u"dump"_s, host, u"--timeout"_s, u" 5"_s}
            << u"--timeout \" 5\" is not a number of seconds above 0 (at most 86400)"_s;
        QTest::newRow("log without a name")
            << QStringList{u"dump"_s, host, u"--log="_s} << u"--log needs a file name"_s;
    }

    void refusals()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, reason);
        QCOMPARE(refusal(arguments), reason);
    }

    void helpGoesToStandardOutput()
    {
        const auto result = parseCliOptions({u"diff"_s, u"--help"_s});
        const CliStop* stop = std::get_if<CliStop>(&result);
        QVERIFY(stop);
        QCOMPARE(stop->code, ExitCode::ok);
        QVERIFY(stop->toOutput);
        QCOMPARE(stop->text, helpText());
        // The exit codes and the treatment of unlisted buttons are part of the help.
        for (const QString& part :
             {u"Exit codes:"_s, u"  0  Success."_s, u"  1  diff: some buttons differ."_s,
              u"  2  Usage error"_s, u"  3  The connection failed"_s,
              u"A button that FILE\n  does not list counts as unassigned (source 0)"_s,
              u"--listed-only"_s, u"--dry-run"_s}) {
            QVERIFY2(stop->text.contains(part), qPrintable(part));
        }
    }

    void versionGoesToStandardOutput_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("alone") << QStringList{u"--version"_s};
        QTest::newRow("after a command") << QStringList{u"apply"_s, u"--version"_s};
    }

    void versionGoesToStandardOutput()
    {
        QFETCH(QStringList, arguments);
        const auto result = parseCliOptions(arguments);
        const CliStop* stop = std::get_if<CliStop>(&result);
        QVERIFY(stop);
        QCOMPARE(stop->code, ExitCode::ok);
        QVERIFY(stop->toOutput);
        QCOMPARE(stop->text, u"quorvane-cli "_s + projectVersion);
        QVERIFY2(
            QRegularExpression(u"^quorvane-cli \\d+\\.\\d+\\.\\d+$"_s).match(stop->text).hasMatch(),
            qPrintable(stop->text));
        QVERIFY(helpText().contains(u"  --version "_s));
    }

    void dottedAddresses_data()
    {
        QTest::addColumn<QString>("host");
        QTest::addColumn<bool>("valid");
        QTest::newRow("usual") << u"192.168.1.20"_s << true;
        QTest::newRow("zeros") << u"0.0.0.0"_s << true;
        QTest::newRow("top") << u"255.255.255.255"_s << true;
        QTest::newRow("short form") << u"10.1"_s << false;
        QTest::newRow("256") << u"10.0.0.256"_s << false;
        QTest::newRow("leading zero") << u"10.0.0.010"_s << false;
        QTest::newRow("empty part") << u"10..0.1"_s << false;
        QTest::newRow("trailing dot") << u"10.0.0.1."_s << false;
        QTest::newRow("five parts") << u"10.0.0.1.5"_s << false;
        QTest::newRow("sign") << u"+10.0.0.1"_s << false;
        QTest::newRow("blank") << u" 10.0.0.1"_s << false;
        QTest::newRow("ipv6") << u"::1"_s << false;
        QTest::newRow("name") << u"frame"_s << false;
        QTest::newRow("nothing") << QString() << false;
    }

    void dottedAddresses()
    {
        QFETCH(QString, host);
        QFETCH(bool, valid);
        QCOMPARE(isDottedIPv4(host), valid);
    }
};

QTEST_GUILESS_MAIN(TestCliOptions)
#include "tst_cli_options.moc"
