// A JSON dump read back unchanged by diff, apply and sheet (see dump_read_back.h).
#include "dump_read_back.h"

class TestCliReadBackJson : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyDumpIsReadBackUnchanged_data() { quorvane::test::readBackRows({1, 3}); }
    void everyDumpIsReadBackUnchanged()
    {
        QFETCH(quint32, seed);
        quorvane::test::dumpIsReadBackUnchanged(QStringLiteral("show.json"), seed);
    }
};

QTEST_MAIN(TestCliReadBackJson)
#include "tst_cli_read_back_json.moc"
