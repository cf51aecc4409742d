// Reading a show file from disk: whole files, the system's reason when there is none, and the
// size bound that keeps a huge file, a device or a pipe from filling the memory.
#include "model/show_file_io.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <sys/stat.h>

using namespace Qt::StringLiterals;
using namespace quorvane;

namespace {
const QString tooLarge = u"the file is larger than 16 MiB, far more than any show file"_s;
}

class TestShowFileIo : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void readsTheWholeFile()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(u"show.csv"_s);
        const QByteArray content = "bus,shift,button,source,name\nME1,1,1,7,CAM 7\n"_ba;
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(content), content.size());
        file.close();

        const ShowFileBytes read = readShowFileBytes(path);
        QCOMPARE(read.problem, QString());
        QCOMPARE(read.bytes, content);
    }

    void aMissingFileGivesTheSystemsReason()
    {
        QTemporaryDir dir;
        const ShowFileBytes read = readShowFileBytes(dir.filePath(u"none.json"_s));
        QVERIFY(!read.bytes);
        QCOMPARE(read.problem, u"No such file or directory"_s);
    }

    void aFolderIsRefused()
    {
        QTemporaryDir dir;
        const ShowFileBytes read = readShowFileBytes(dir.path());
        QVERIFY(!read.bytes);
        QCOMPARE(read.problem, u"it is a folder, not a file"_s);
    }

    void aFileOfTheBoundIsRead()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(u"large.json"_s);
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(file.resize(maxShowFileSize)); // sparse: no disk is used
        file.close();

        const ShowFileBytes read = readShowFileBytes(path);
        QCOMPARE(read.problem, QString());
        QVERIFY(read.bytes);
        QCOMPARE(read.bytes->size(), maxShowFileSize);
    }

    void aFileOneByteLargerIsRefused()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(u"huge.json"_s);
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(file.resize(maxShowFileSize + 1));
        file.close();

        const ShowFileBytes read = readShowFileBytes(path);
        QVERIFY(!read.bytes);
        QCOMPARE(read.problem, tooLarge);
    }

    void aDeviceIsRefused()
    {
        const ShowFileBytes read = readShowFileBytes(u"/dev/zero"_s);
        QVERIFY(!read.bytes);
        QCOMPARE(read.problem, u"it is a device, not a regular file"_s);
    }

    // Opening a named pipe would wait for a writer that may never come; it is refused at once.
    void aNamedPipeIsRefusedWithoutWaiting()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(u"show.fifo"_s);
        QCOMPARE(mkfifo(QFile::encodeName(path).constData(), 0600), 0);

        const ShowFileBytes read = readShowFileBytes(path);
        QVERIFY(!read.bytes);
        QCOMPARE(read.problem, u"it is a named pipe, not a regular file"_s);
    }

    // Files under /proc say they are empty; what they hold is read all the same.
    void aFileThatUnderstatesItsSizeIsReadToItsEnd()
    {
        QFile proc(u"/proc/version"_s);
        QVERIFY(proc.open(QIODevice::ReadOnly));
        QCOMPARE(proc.size(), 0);

        const ShowFileBytes read = readShowFileBytes(proc.fileName());
        QCOMPARE(read.problem, QString());
        QVERIFY(read.bytes);
        QVERIFY(read.bytes->startsWith("Linux version "));
    }
};

QTEST_GUILESS_MAIN(TestShowFileIo)
#include "tst_show_file_io.moc"
