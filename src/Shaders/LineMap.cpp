#include "LineMap.h"

#include "../GL/private/MacroExpander.h"
#include "private/FileWatch.h"
#include "private/TextLines.h"

#include <ZelGL/GLSLMacroProcessor.h>
#include <ZelGL/InstanceDataPlan.h>
#include <ZelGL/InstanceDataRegistry.h>

#include <algorithm>

namespace Orvane { namespace ZelShaders {

/// Records an expansion in a map. It stores offsets only, so that the expansion takes little more time than without it;
/// the first look-up counts the lines.
class LineMap::Tracer final : public Zel::MacroExpansion
{
public:
    Tracer(LineMap &map, const PlanTexts *plans)
        : _map(map)
        , _plans(plans)
    {
    }

    bool planText(const QString &name, QString &text, int offset) override
    {
        if (_plans == nullptr) {
            if (const auto *const plan = Zel::InstanceDataRegistry::Instance()->getPlan(name)) {
                text = plan->glslh();
                return true;
            }
        } else if (_plans->contains(name)) {
            text = _plans->value(name);
            return true;
        }
        fail(QStringLiteral("unknown plan '%1': register it before the shader is made").arg(name), offset);
        return false;
    }

    void looksFor(const QString &path) override { FileWatch::looksFor(path); }

    void includeFails(const QString &line, const QString &fileName, int offset) override
    {
        fail(fileName.isEmpty() ? QStringLiteral("no file name in '%1'").arg(line)
                                : QStringLiteral("no include path has the file '%1'").arg(fileName),
             offset);
    }

    bool enter(Kind kind, const QString &name, const QString &text, int offset) override
    {
        const LineMap::Kind entryKind = kind == eInclude                     ? LineMap::eFile
                                        : kind == Zel::MacroExpansion::ePlan ? LineMap::ePlan
                                                                             : LineMap::eMacro;
        const bool isDefault = kind == eMacroDefault;
        // An expansion has no conditions: what is open already would open itself again, without an end.
        for (int open = isDefault ? -1 : _current; open >= 0; open = _map._entries.at(open).parent) {
            const Entry &entry = _map._entries.at(open);
            if (entry.kind == entryKind && entry.name == name && !entry.isDefault && entry.parent >= 0) {
                fail(QStringLiteral("endless: '%1' includes itself").arg(name), offset, true);
                return false;
            }
        }
        _map._entries.append({entryKind, isDefault, name, text, _current, offset});
        _current = _map._entries.size() - 1;
        return true;
    }

    void leave() override { _current = _map._entries.at(_current).parent; }

    void copies(int offset, int resultOffset) override
    {
        _map._segments.append({resultOffset, _current, offset});
    }

    void defines(int resultOffset) override { _map._segments.append({resultOffset, kDefinesEntry, 0}); }

    static constexpr int kDefinesEntry = 1;

private:
    void fail(const QString &message, int offset, bool isEndless = false)
    {
        _map._failures.append({message, _current, offset, isEndless});
    }

    LineMap &_map;
    const PlanTexts *_plans;
    int _current = 0;
};

QString LineMap::Origin::toString() const
{
    static const char *const kPrefixes[] = {"", "macro ", "plan ", "defines"};
    return QLatin1String(kPrefixes[kind]) + name + QLatin1Char(':') + QString::number(line);
}

LineMap::LineMap() = default;

LineMap::LineMap(const QString &source, const QString &name, const Zel::GLSLMacroProcessor *processor,
                 const PlanTexts *plans)
{
    Zel::GLSLMacroProcessor copy; // the expansion takes no constant
    if (processor != nullptr) {
        copy = *processor;
    }
    _entries.append({eFile, false, name, source, -1, 0});
    _entries.append({eDefines, false, QString(), Zel::GLSLMacroProcessor::processDefines(&copy), -1, 0});
    Tracer tracer(*this, plans);
    _text = Zel::expandShaderText(copy, source, tracer);
}

QString LineMap::name() const
{
    return _entries.isEmpty() ? QString() : _entries.first().name;
}

int LineMap::lineCount() const
{
    if (_lineStarts.isEmpty()) {
        _lineStarts = lineStarts(_text);
    }
    return _lineStarts.size();
}

QString LineMap::line(int number) const
{
    return number <= lineCount() ? lineText(_text, _lineStarts, number - 1) : QString();
}

LineMap::Origin LineMap::origin(int line) const
{
    int position = 0;
    const Segment *const segment = segmentOfLine(line, position);
    return segment != nullptr ? originAt(segment->entry, segment->offset + position - segment->resultOffset)
                              : Origin();
}

QVector<LineMap::Origin> LineMap::includedFrom(int line) const
{
    QVector<Origin> chain;
    int position = 0;
    const Segment *const segment = segmentOfLine(line, position);
    for (int at = segment != nullptr ? segment->entry : -1; at >= 0 && _entries.at(at).parent >= 0;
         at = _entries.at(at).parent) {
        if (!_entries.at(at).isDefault) { // its origin is the directive already
            chain.append(originAt(_entries.at(at).parent, _entries.at(at).parentOffset));
        }
    }
    return chain;
}

QString LineMap::sourceLine(const Origin &origin) const
{
    const int entry = entryOf(origin);
    return entry >= 0 ? lineText(_entries.at(entry).text, startsOf(entry), origin.line - 1) : QString();
}

int LineMap::sourceLineCount(const Origin &origin) const
{
    const int entry = entryOf(origin);
    return entry >= 0 ? startsOf(entry).size() : 0;
}

QVector<LineMap::Use> LineMap::uses() const
{
    QVector<Use> uses;
    for (const Entry &entry : _entries) {
        if (entry.parent >= 0) {
            uses.append({entry.kind, entry.name, entry.text, !entry.isDefault,
                         originAt(entry.parent, entry.parentOffset)});
        }
    }
    return uses;
}

QVector<LineMap::Failure> LineMap::failures() const
{
    QVector<Failure> failures;
    for (const FailedDirective &failure : _failures) {
        failures.append({failure.message, originAt(failure.entry, failure.offset), failure.isEndless});
    }
    return failures;
}

/// The segment of the first visible character of a line, and the position of that in the text. Null if the text has no
/// such line.
const LineMap::Segment *LineMap::segmentOfLine(int line, int &position) const
{
    if (line < 1 || line > lineCount() || _segments.isEmpty()) {
        return nullptr;
    }
    const int start = _lineStarts.at(line - 1);
    const int end = line < _lineStarts.size() ? _lineStarts.at(line) : _text.size();
    const auto visible =
        std::find_if(_text.begin() + start, _text.begin() + end, [](QChar c) { return !c.isSpace(); });
    position = visible != _text.begin() + end ? int(visible - _text.begin()) : start;
    const auto after =
        std::upper_bound(_segments.begin(), _segments.end(), position,
                         [](int at, const Segment &segment) { return at < segment.resultOffset; });
    return after != _segments.begin() ? &*(after - 1) : nullptr;
}

LineMap::Origin LineMap::originAt(int entry, int offset) const
{
    while (_entries.at(entry).isDefault) {
        offset = _entries.at(entry).parentOffset;
        entry = _entries.at(entry).parent;
    }
    const Entry &at = _entries.at(entry);
    return {at.kind, at.name, lineAt(startsOf(entry), offset) + 1};
}

const QVector<int> &LineMap::startsOf(int entry) const
{
    QVector<int> &starts = _sourceStarts[entry];
    if (starts.isEmpty()) {
        starts = lineStarts(_entries.at(entry).text);
    }
    return starts;
}

int LineMap::entryOf(const Origin &origin) const
{
    const auto entry = std::find_if(_entries.begin(), _entries.end(), [&](const Entry &at) {
        return at.kind == origin.kind && at.name == origin.name && !at.isDefault;
    });
    return entry != _entries.end() && origin.line > 0 ? int(entry - _entries.begin()) : -1;
}

}} // namespace Orvane::ZelShaders
