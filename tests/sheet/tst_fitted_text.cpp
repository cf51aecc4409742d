// Names set into the cells of a sheet: as large as they fit, broken between words, smaller
// only for a word that does not fit, broken inside a word only at the smallest size, and cut
// visibly when even that is not enough.
#include "fitted_text.h"

#include <QFontMetricsF>
#include <QImage>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace quorvane;

namespace {
constexpr int largest = 9;
constexpr int smallest = 6;

// Measured as paintSheetPage measures: 72 dots per inch, one point a dot.
QImage pointDevice()
{
    QImage image(10, 10, QImage::Format_RGB32);
    image.setDotsPerMeterX(2835);
    image.setDotsPerMeterY(2835);
    return image;
}

QFont face()
{
    QFont font(u"DejaVu Sans"_s);
    font.setHintingPreference(QFont::PreferNoHinting);
    return font;
}

qreal widthAt(const QString& text, int points, QPaintDevice* device)
{
    QFont font = face();
    font.setPointSize(points);
    return QFontMetricsF(font, device).horizontalAdvance(text);
}
} // namespace

class TestFittedText : public QObject {
    Q_OBJECT

private:
    QImage m_device = pointDevice();

    void verifyLinesFit(const FittedText& text, qreal width)
    {
        const QFontMetricsF metrics(text.font, &m_device);
        for (const QString& line : text.lines)
            QVERIFY2(metrics.horizontalAdvance(line) <= width + 0.01, qPrintable(line));
    }

private Q_SLOTS:
    void aShortNameStaysWholeAtTheLargestSize()
    {
        const FittedText text =
            fitText(u"CAM 1"_s, face(), QSizeF(100, 20), largest, smallest, &m_device);
        QCOMPARE(text.lines, QStringList(u"CAM 1"_s));
        QCOMPARE(text.font.pointSize(), largest);
        QVERIFY(text.complete);
        QVERIFY(text.lineSpacing > 0 && text.ascent > 0);
    }

    void wordsGoOnNewLinesBeforeTheTextShrinks()
    {
        const qreal width = widthAt(u"Stadium"_s, largest, &m_device) + 1;
        const FittedText text = fitText(u"Remote 1 Stadium"_s, face(), QSizeF(width, 100), largest,
                                        smallest, &m_device);
        QCOMPARE(text.font.pointSize(), largest);
        QCOMPARE(text.lines.join(u' '), u"Remote 1 Stadium"_s);
        QVERIFY(text.lines.size() >= 2);
        QVERIFY(text.complete);
        verifyLinesFit(text, width);
    }

    void aWordTooWideMakesTheTextSmaller()
    {
        const qreal width = widthAt(u"Commercials"_s, 7, &m_device) + 0.1;
        const FittedText text =
            fitText(u"Commercials 1"_s, face(), QSizeF(width, 100), largest, smallest, &m_device);
        QCOMPARE(text.font.pointSize(), 7);
        QCOMPARE(text.lines, QStringList({u"Commercials"_s, u"1"_s}));
        verifyLinesFit(text, width);
    }

    void tooFewLinesMakeTheTextSmaller()
    {
        // Room for one line: the text shrinks until it fits on it.
        const qreal width = widthAt(u"Clip Player 2"_s, 8, &m_device) + 0.1;
        const FittedText text =
            fitText(u"Clip Player 2"_s, face(), QSizeF(width, 12), largest, smallest, &m_device);
        QCOMPARE(text.font.pointSize(), 8);
        QCOMPARE(text.lines, QStringList(u"Clip Player 2"_s));
    }

    void aWordTooWideEvenAtTheSmallestSizeIsBroken()
    {
        const QString word = u"SUPERCALIFRAGILISTIC"_s;
        const qreal width = widthAt(word, smallest, &m_device) / 2;
        const FittedText text =
            fitText(word, face(), QSizeF(width, 100), largest, smallest, &m_device);
        QCOMPARE(text.font.pointSize(), smallest);
        QVERIFY(text.lines.size() >= 2);
        QCOMPARE(text.lines.join(QString()), word);
        QVERIFY(text.complete);
        verifyLinesFit(text, width);
    }

    void whatDoesNotFitAtAllIsCutWithAnEllipsis()
    {
        const QString name = u"A name far longer than any frame would ever give a source"_s;
        const qreal width = widthAt(u"A name far"_s, smallest, &m_device);
        const FittedText probe =
            fitText(u"x"_s, face(), QSizeF(width, 100), smallest, smallest, &m_device);
        const qreal twoLines = 2 * probe.lineSpacing + 0.5;
        const FittedText text =
            fitText(name, face(), QSizeF(width, twoLines), largest, smallest, &m_device);
        QVERIFY(!text.complete);
        QCOMPARE(text.lines.size(), 2);
        QVERIFY(text.lines.last().endsWith(u"…"_s));
        QVERIFY(name.startsWith(text.lines.first()));
        verifyLinesFit(text, width);
    }

    void aNameOfAMillionCharactersIsCut()
    {
        const QString name = QString(1'000'000, u'W');
        const FittedText text =
            fitText(name, face(), QSizeF(60, 100), largest, smallest, &m_device);
        QVERIFY(!text.complete);
        QCOMPARE(text.font.pointSize(), smallest);
        QVERIFY(text.lines.last().endsWith(u"…"_s));
        QVERIFY(name.startsWith(text.lines.first()));
        verifyLinesFit(text, 60);
    }

    // Characters without width fit a cell however many there are; when only the start of the
    // name was laid out, the cut still shows.
    void aNameCutBeforeLayoutIsNeverWhole()
    {
        const QString name = u"CAM"_s + QString(10'000, QChar(0x200B)); // zero width spaces
        const FittedText text =
            fitText(name, face(), QSizeF(100, 100), largest, smallest, &m_device);
        QVERIFY(!text.complete);
        QVERIFY(text.lines.last().endsWith(u"…"_s));
    }

    void runsOfBlanksCountAsOne()
    {
        const FittedText text =
            fitText(u"  CAM   1  "_s, face(), QSizeF(100, 20), largest, smallest, &m_device);
        QCOMPARE(text.lines, QStringList(u"CAM 1"_s));
    }
};

QTEST_MAIN(TestFittedText)
#include "tst_fitted_text.moc"
