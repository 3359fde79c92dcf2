#include "ui/parts/ChineseTexts.h"

#include <QApplication>
#include <QFont>
#include <QFontInfo>
#include <QLibraryInfo>
#include <QTranslator>

using namespace Qt::StringLiterals;

void speakChinese()
{
    auto *const toolkit = new QTranslator(qApp);
    if (toolkit->load(u"qtbase_zh_CN"_s, QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(toolkit);
    // Else the first font that has a letter would be taken, with Japanese forms perhaps. Not by a
    // font for the application, which would end the desktop's say about sizes. The font that the
    // desktop's name stands for goes first: Latin letters stay its own.
    for (const QFont &font : {QApplication::font(), QApplication::font("QMenu")})
        QFont::insertSubstitutions(
            font.family(),
            {QFontInfo(font).family(), u"WenQuanYi Micro Hei"_s, u"Noto Sans CJK SC"_s});
}
