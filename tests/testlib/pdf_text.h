#pragma once

// What a reader finds in a PDF, through poppler's own tools: the page count as pdfinfo reports
// it, and every word with its place as pdftotext -bbox finds it. Both come with poppler-utils,
// which ./quorvane.sh installs.

#include <QList>
#include <QRectF>
#include <QSizeF>
#include <QStringList>

namespace quorvane::test {

struct PdfWord {
    QRectF box; // in points from the page's top left corner
    QString text;
};

struct PdfPage {
    QSizeF size; // in points
    QList<PdfWord> words;

    // The words whose middle lies in `area`, sorted.
    QStringList wordsIn(const QRectF& area) const;
    // All words of the page, in the order found, joined by blanks.
    QString text() const;
};

// "Pages:" as pdfinfo reports it; -1 when it cannot be had (with a warning that says why).
int pdfPageCount(const QString& path);

// Every page of the PDF at `path`; empty when it cannot be read (with a warning).
QList<PdfPage> pdfPages(const QString& path);

} // namespace quorvane::test
