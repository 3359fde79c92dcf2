#include "ui/parts/Symbol.h"

#include <QDir>
#include <QFileInfo>
#include <QPainter>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

QImage painted(const QString &name, const QRectF &where, QSize size)
{
    QImage picture(size, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    paintSymbol(painter, where, name, Qt::red);
    return picture;
}

/// How much of a square a drawing covers, 0 to 1.
double ink(const QImage &picture)
{
    double sum = 0;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x)
            sum += picture.pixelColor(x, y).alphaF();
    }
    return sum / (picture.width() * picture.height());
}

/// The texts that the sources of the user interface use as names of symbols.
QStringList namesInSources()
{
    // No other texts are small letters and digits joined by dots, but for the names of programs.
    static const QRegularExpression named(u"ymbol(?:Label|Tile)?(?:\\(| = )u\"([^\"]+)\""
                                          "|u\"((?!com\\.|org\\.)[a-z]+(?:\\.[a-z0-9]+)+)\""_s);
    QStringList names;
    const QDir folder = QFileInfo(QFINDTESTDATA("../ui/Symbol.cpp")).dir();
    for (const QString &file : folder.entryList({u"*.cpp"_s})) {
        QFile source(folder.filePath(file));
        if (!source.open(QIODevice::ReadOnly))
            qFatal("cannot read %s", qPrintable(file));
        const QString text = QString::fromUtf8(source.readAll());
        for (const auto &match : named.globalMatch(text))
            names.append(match.captured(1) + match.captured(2));
    }
    if (names.isEmpty())
        qFatal("no sources in %s", qPrintable(folder.path()));
    return names;
}

} // namespace

/// The program's own set of drawings.
class TestSymbols : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyNameHasADrawing_data()
    {
        QTest::addColumn<QString>("name");
        QStringList names = namesInSources();
        names.removeDuplicates();
        for (const QString &name : std::as_const(names))
            QTest::addRow("%s", qPrintable(name)) << name;
    }

    void everyNameHasADrawing()
    {
        QFETCH(const QString, name);
        for (const int side : {9, 16, 24, 44}) {
            const QRectF where(4, 4, side, side);
            const QImage picture = painted(name, where, QSize(side + 8, side + 8));
            const QImage inside = picture.copy(4, 4, side, side);
            QVERIFY2(ink(inside) > 0.05 && ink(inside) < 0.9, QByteArray::number(side));
            QCOMPARE(ink(picture) * picture.width() * picture.height(),
                     ink(inside) * side * side); // nothing beside it
        }
        QVERIFY(!symbol(name, Qt::red).isNull());
    }
};

QTEST_MAIN(TestSymbols)
#include "test_symbols.moc"
