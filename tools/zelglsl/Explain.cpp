#include "Explain.h"

#include "Input.h"

#include <QtCore/QFile>
#include <QtCore/QRegularExpression>
#include <QtCore/QSet>
#include <QtCore/QTextStream>
#include <QtCore/QVector>

#include <algorithm>
#include <cstdio>

namespace {

struct Message
{
    QString level;
    QString text;
    QRegularExpression pattern; ///< each literal part is a group
    QString longest;            ///< of the literal parts: a text without it needs no match
    int length;                 ///< of the literal parts
    bool isShort;               ///< a word only: known if it is the whole text
};

/// An entry of docs/messages.txt.
struct Entry
{
    QString section;
    QVector<Message> messages;
    QString cause;
    QString remedy;
    QString more;
};

struct Match
{
    const Entry *entry = nullptr;
    const Message *message = nullptr;
};

Message messageOf(const QString &level, const QString &text)
{
    Message message{level, text, {}, {}, 0, false};
    QStringList parts;
    int words = 0;
    for (const QString &part : text.split(QStringLiteral("{}"))) {
        parts.append(part.isEmpty() ? QString()
                                    : QStringLiteral("(%1)").arg(QRegularExpression::escape(part)));
        message.length += part.size();
        message.longest = part.size() > message.longest.size() ? part : message.longest;
        words += part.split(QRegularExpression(QStringLiteral("\\W+")), Qt::SkipEmptyParts).size();
    }
    message.isShort = words < 2;
    const QString pattern = parts.join(QLatin1String(".*?"));
    message.pattern.setPattern(message.isShort ? QRegularExpression::anchoredPattern(pattern) : pattern);
    return message;
}

QVector<Entry> readIndex()
{
    QFile file(QStringLiteral(":/zelglsl/messages.txt"));
    file.open(QIODevice::ReadOnly);
    QVector<Entry> entries;
    QString section;
    QString *field = nullptr; // that an indented line continues
    bool isOpen = false;
    for (const QString &line : QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'))) {
        const QString key = line.section(QLatin1String(": "), 0, 0);
        const QString value = line.section(QLatin1String(": "), 1);
        if (line.startsWith(QLatin1String("== "))) {
            section = line.mid(3);
        } else if (line.startsWith(QLatin1Char(' ')) && field != nullptr) {
            *field += QLatin1Char(' ') + line.trimmed();
        } else if (line.isEmpty() || line.startsWith(QLatin1Char('#')) || value.isEmpty()) {
            isOpen = isOpen && !line.isEmpty();
        } else {
            if (!isOpen) {
                entries.append(Entry{section, {}, {}, {}, {}});
                isOpen = true;
            }
            Entry &entry = entries.last();
            field = key == QLatin1String("cause")    ? &entry.cause
                    : key == QLatin1String("remedy") ? &entry.remedy
                    : key == QLatin1String("more")   ? &entry.more
                                                     : nullptr;
            if (field != nullptr) {
                *field = value;
            } else {
                entry.messages.append(messageOf(key, value));
            }
        }
    }
    return entries;
}

/// Without what precedes a message in a log.
QString withoutPrefix(QString text)
{
    static const QRegularExpression prefix(
        QStringLiteral("^((zelview|zelinfo|zelglsl|smaatables): |\\[ZelCheck\\] |\\[[^\\]]*:\\d+\\] |"
                       "\\[ !! \\] (Assertion '.*?' failed: )?)+"));
    return text.remove(prefix);
}

/// The longest message in the text, which is then removed from it: a line may consist of several.
Match takeBest(const QVector<Entry> &entries, bool areShort, QString &text)
{
    Match best;
    QRegularExpressionMatch found;
    for (const Entry &entry : entries) {
        for (const Message &message : entry.messages) {
            if (message.isShort == areShort && text.contains(message.longest)
                && (best.message == nullptr || message.length > best.message->length)) {
                const QRegularExpressionMatch match = message.pattern.match(text);
                if (match.hasMatch()) {
                    best = {&entry, &message};
                    found = match;
                }
            }
        }
    }
    for (int group = found.lastCapturedIndex(); group > 0; --group) {
        text.replace(found.capturedStart(group), found.capturedLength(group),
                     QChar(QChar::ObjectReplacementCharacter));
    }
    return best;
}

QVector<Match> matchesIn(const QVector<Entry> &entries, const QString &line)
{
    QVector<Match> matches;
    QString text = line.simplified();
    for (Match match = takeBest(entries, false, text); match.entry != nullptr;
         match = takeBest(entries, false, text)) {
        matches.append(match);
    }
    if (matches.isEmpty()) {
        text = withoutPrefix(line.simplified());
        const Match match = takeBest(entries, true, text);
        if (match.entry != nullptr) {
            matches.append(match);
        }
    }
    return matches;
}

/// The messages that contain the text: a user may have copied a part.
QVector<Match> matchesAround(const QVector<Entry> &entries, const QString &text)
{
    constexpr int kMinLength = 8;
    const QString part = withoutPrefix(text.simplified());
    QVector<Match> matches;
    for (const Entry &entry : entries) {
        for (const Message &message : entry.messages) {
            if (part.size() >= kMinLength && message.text.contains(part, Qt::CaseInsensitive)
                && (matches.isEmpty() || matches.last().entry != &entry)) {
                matches.append({&entry, &message});
            }
        }
    }
    return matches;
}

void printMatch(const Match &match)
{
    static const QRegularExpression notInAnchors(QStringLiteral("[^\\w -]"));
    const QString anchor =
        match.entry->section.toLower().remove(notInAnchors).replace(QLatin1Char(' '), QLatin1Char('-'));
    QString pages = QStringLiteral("docs/messages.md#") + anchor;
    for (const QString &page : match.entry->more.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        pages += QStringLiteral(", docs/") + page;
    }
    print(match.message->level + QStringLiteral(": ") + match.message->text);
    print(QStringLiteral("    Cause:  ") + match.entry->cause);
    print(QStringLiteral("    Remedy: ") + match.entry->remedy);
    print(QStringLiteral("    See:    ") + pages);
}

bool explainInput(const QVector<Entry> &entries)
{
    QSet<const Entry *> printed;
    QTextStream input(stdin);
    input.setCodec("UTF-8");
    QString line;
    while (input.readLineInto(&line)) {
        for (const Match &match : matchesIn(entries, line)) {
            if (!printed.contains(match.entry)) {
                printed.insert(match.entry);
                printMatch(match);
            }
        }
        std::fflush(stdout); // the input may be a host that runs
    }
    return !printed.isEmpty();
}

} // namespace

int explain(const QStringList &words)
{
    if (words.isEmpty()) {
        return failUsage(QStringLiteral("explain needs a message, or - for the standard input"));
    }
    const QVector<Entry> entries = readIndex();
    const QString text = words.join(QLatin1Char(' '));
    if (text == QLatin1String("-")) {
        return explainInput(entries) ? eSuccess : eFindings;
    }
    QVector<Match> matches = matchesIn(entries, text);
    if (matches.isEmpty()) {
        matches = matchesAround(entries, text);
    }
    for (const Match &match : qAsConst(matches)) {
        printMatch(match);
    }
    if (matches.isEmpty()) {
        printError(QStringLiteral("no known message in this text"));
    }
    return matches.isEmpty() ? eFindings : eSuccess;
}
