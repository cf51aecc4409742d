// A CSV dump read back unchanged by diff, apply and sheet (see dump_read_back.h).
#include "dump_read_back.h"

class TestCliReadBackCsv : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyDumpIsReadBackUnchanged_data() { quorvane::test::readBackRows({2}); }
    void everyDumpIsReadBackUnchanged()
    {
        QFETCH(quint32, seed);
        quorvane::test::dumpIsReadBackUnchanged(QStringLiteral("show.csv"), seed);
    }
};

QTEST_MAIN(TestCliReadBackCsv)
#include "tst_cli_read_back_csv.moc"
