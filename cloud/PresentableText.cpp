#include "cloud/PresentableText.h"

#include <QList>

namespace
{
bool canDisguise(char32_t character)
{
    switch (QChar::category(character)) {
    case QChar::Other_Control:
    case QChar::Other_Format:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    default: // every other category of Unicode is a character that one can see
        return false;
    }
}
} // namespace

QString presentable(const QString &text)
{
    QString result;
    for (const char32_t character : text.toUcs4()) {
        if (!canDisguise(character))
            result += QChar::fromUcs4(character);
    }
    return result;
}
