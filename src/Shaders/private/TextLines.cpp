#include "TextLines.h"

#include <algorithm>

namespace Orvane { namespace ZelShaders {

namespace {

bool isBreak(QChar c)
{
    return c == QLatin1Char('\n') || c == QLatin1Char('\r');
}

} // namespace

bool isJoined(const QString &text, int offset)
{
    const bool isSecondOfPair =
        offset > 0 && isBreak(text.at(offset - 1)) && text.at(offset - 1) != text.at(offset);
    const int last = offset - (isSecondOfPair ? 2 : 1);
    return last >= 0 && text.at(last) == QLatin1Char('\\');
}

QVector<int> lineStarts(const QString &text)
{
    QVector<int> starts{0};
    for (int at = 0; at < text.size(); ++at) {
        if (isBreak(text.at(at))) {
            const bool isPair =
                at + 1 < text.size() && isBreak(text.at(at + 1)) && text.at(at + 1) != text.at(at);
            at += isPair ? 1 : 0;
            starts.append(at + 1);
        }
    }
    return starts;
}

int lineAt(const QVector<int> &starts, int offset)
{
    return int(std::upper_bound(starts.begin(), starts.end(), offset) - starts.begin()) - 1;
}

QString lineText(const QString &text, const QVector<int> &starts, int index)
{
    if (index < 0 || index >= starts.size()) {
        return QString();
    }
    const int start = starts.at(index);
    int end = index + 1 < starts.size() ? starts.at(index + 1) : text.size();
    while (end > start && isBreak(text.at(end - 1))) {
        --end;
    }
    return text.mid(start, end - start);
}

QString withoutComments(const QString &text)
{
    QString result = text;
    enum { eCode, eLine, eBlock } state = eCode;
    for (int at = 0; at < text.size(); ++at) {
        const QChar c = text.at(at);
        const QChar next = at + 1 < text.size() ? text.at(at + 1) : QChar();
        if (state == eCode && c == QLatin1Char('/')
            && (next == QLatin1Char('/') || next == QLatin1Char('*'))) {
            state = next == QLatin1Char('/') ? eLine : eBlock;
            result[at] = result[at + 1] = QLatin1Char(' ');
            ++at;
        } else if (state == eBlock && c == QLatin1Char('*') && next == QLatin1Char('/')) {
            state = eCode;
            result[at] = result[at + 1] = QLatin1Char(' ');
            ++at;
        } else if (state == eLine && isBreak(c)) {
            state = isJoined(text, at) ? eLine : eCode;
        } else if (state != eCode && !isBreak(c)) {
            result[at] = QLatin1Char(' ');
        }
    }
    return result;
}

}} // namespace Orvane::ZelShaders
