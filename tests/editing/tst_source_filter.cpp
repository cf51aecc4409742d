// The source picker's list: 809 candidates, searched by number and by display name.
#include "demo_show.h"
#include "diagnostics/debug_logger.h"
#include "model/source_labels.h"
#include "editing/source_filter.h"

#include <QTest>
#include <numeric>

using namespace Qt::StringLiterals;
using namespace quorvane;

namespace {
QList<int> allSources()
{
    QList<int> sources(809);
    std::iota(sources.begin(), sources.end(), 1);
    return sources;
}
} // namespace

class TestSourceFilter : public QObject {
    Q_OBJECT

private:
    // The names of the emulated frame's show and the labels shipped for internal sources.
    SourceNameTable m_names = emulator::demoShow().names();
    InternalSourceLabels m_labels;
    SourceNameLookup m_displayName = [this](int source) {
        return displayName(source, m_names, m_labels);
    };

private Q_SLOTS:
    void initTestCase()
    {
        DebugLogger logger;
        logger.setEcho(nullptr);
        m_labels = loadInternalSourceLabels(defaultSourceLabelsLocations(), logger);
        QVERIFY(!m_labels.isEmpty());
        QVERIFY(m_names.size() > 100);
    }

    void emptyOrBlankTextListsAllSources_data()
    {
        QTest::addColumn<QString>("query");
        QTest::newRow("empty") << QString();
        QTest::newRow("spaces") << u"     "_s;
        QTest::newRow("tab and newline") << u" \t\n "_s;
    }

    void emptyOrBlankTextListsAllSources()
    {
        QFETCH(QString, query);
        const QList<int> sources = filteredSources(query, m_displayName);
        QCOMPARE(sources.size(), 809);
        QCOMPARE(sources, allSources());
    }

    void findsNumbersContainingTheText()
    {
        const QList<int> expected{12,  112, 120, 121, 122, 123, 124, 125, 126,
                                  127, 128, 129, 212, 312, 412, 512, 612, 712};
        QCOMPARE(filteredSources(u"12", m_displayName), expected);
        QCOMPARE(filteredSources(u" 12 ", m_displayName), expected);
        QCOMPARE(filteredSources(u"809", m_displayName), QList<int>({809}));
        // 810 is not a candidate.
        QCOMPARE(filteredSources(u"810", m_displayName), QList<int>());
    }

    void findsDisplayNamesWhateverTheCase()
    {
        // The display name decides, not every name a source has: 8 shows "C8 CRN" and 15
        // "AERIAL", though their engineering names are CAM 8 and CAM 15.
        const QList<int> expected{1, 2, 3, 4, 5, 6, 7, 13, 19, 20, 21, 24};
        QCOMPARE(filteredSources(u"CAM", m_displayName), expected);
        QCOMPARE(filteredSources(u"cam ", m_displayName), expected);
        QCOMPARE(filteredSources(u"cAm", m_displayName), expected);
        QCOMPARE(filteredSources(u"  CAM\t", m_displayName), expected);
    }

    void internalSourcesAreFoundByTheirLabel()
    {
        // 710-715 are labelled "Matte 1" to "Matte 6"; 706 has only its engineering name
        // "MATTE 4"; 703-705 are engineering MATTE 1-3 but labelled otherwise.
        QCOMPARE(filteredSources(u"matte", m_displayName),
                 QList<int>({706, 710, 711, 712, 713, 714, 715}));
    }

    void aSourceWithoutNameIsFoundByNumberOnly()
    {
        const SourceNameLookup named = [](int source) -> std::optional<QString> {
            if (source == 300)
                return std::nullopt;
            return u"Studio "_s + QString::number(source + 1000);
        };
        QCOMPARE(filteredSources(u"300", named), QList<int>({300}));
        // "studio" finds every source but the nameless one.
        QList<int> all = allSources();
        all.removeOne(300);
        QCOMPARE(filteredSources(u"studio", named), all);
        QCOMPARE(filteredSources(u"1300", named), QList<int>());
        // A name that holds digits is found by them like any other text.
        QCOMPARE(filteredSources(u"1301", named), QList<int>({301}));
    }

    void noNamesAtAllSearchesNumbers()
    {
        QCOMPARE(filteredSources(u"80", SourceNameLookup()),
                 QList<int>({80, 180, 280, 380, 480, 580, 680, 780, 800, 801, 802, 803, 804, 805,
                             806, 807, 808, 809}));
        QCOMPARE(filteredSources(u"cam", SourceNameLookup()), QList<int>());
    }
};

QTEST_GUILESS_MAIN(TestSourceFilter)
#include "tst_source_filter.moc"
