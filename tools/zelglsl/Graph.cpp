#include "Graph.h"

#include <QtCore/QMap>
#include <QtCore/QSet>

using namespace Orvane::ZelShaders;

namespace {

/// A text of the graph. Macros and plans may have the names of files.
using Node = QPair<int, QString>;

struct Edge
{
    Node to;
    int line;
    bool isKnown;
};

/// The edges of each node in the order of their lines, each once.
QMap<Node, QVector<Edge>> edgesOf(const QVector<LineMap> &maps)
{
    QMap<Node, QVector<Edge>> edges;
    QSet<QPair<Node, QPair<Node, int>>> seen;
    for (const LineMap &map : maps) {
        for (const LineMap::Use &use : map.uses()) {
            const Node from(use.at.kind, use.at.name);
            const Node to(use.kind, use.name);
            if (!seen.contains({from, {to, use.at.line}})) {
                seen.insert({from, {to, use.at.line}});
                edges[from].append({to, use.at.line, use.isKnown});
            }
        }
    }
    return edges;
}

QString nameOf(const Node &node)
{
    static const char *const kPrefixes[] = {"", "macro ", "plan ", "defines"};
    return QLatin1String(kPrefixes[node.first]) + node.second;
}

void printBelow(const Node &node, const QMap<Node, QVector<Edge>> &edges, int depth, QSet<Node> &printed,
                QStringList &lines)
{
    const bool isNew = !printed.contains(node);
    printed.insert(node);
    for (const Edge &edge : isNew ? edges.value(node) : QVector<Edge>()) {
        const QString more = !edge.isKnown ? QStringLiteral(", default")
                             : printed.contains(edge.to) && !edges.value(edge.to).isEmpty()
                                 ? QStringLiteral(", see above")
                                 : QString();
        lines.append(QString(4 * depth, QLatin1Char(' '))
                     + QStringLiteral("%3 (line %1%2)").arg(edge.line).arg(more, nameOf(edge.to)));
        printBelow(edge.to, edges, depth + 1, printed, lines);
    }
}

QString quoted(QString name)
{
    name.replace(QLatin1Char('\\'), QLatin1String("\\\\")).replace(QLatin1Char('"'), QLatin1String("\\\""));
    return QLatin1Char('"') + name + QLatin1Char('"');
}

} // namespace

QStringList graphAsText(const QVector<LineMap> &maps)
{
    const QMap<Node, QVector<Edge>> edges = edgesOf(maps);
    QStringList lines;
    QSet<Node> printed;
    for (const LineMap &map : maps) {
        lines.append(map.name());
        printBelow({LineMap::eFile, map.name()}, edges, 1, printed, lines);
    }
    return lines;
}

QStringList graphAsDot(const QVector<LineMap> &maps)
{
    QStringList lines{QStringLiteral("digraph shaders {"), QStringLiteral("    rankdir=LR;"),
                      QStringLiteral("    node [shape=box];")};
    for (const LineMap &map : maps) {
        lines.append(QStringLiteral("    %1 [style=bold];").arg(quoted(map.name())));
    }
    const QMap<Node, QVector<Edge>> edges = edgesOf(maps);
    for (auto from = edges.begin(); from != edges.end(); ++from) {
        for (const Edge &edge : from.value()) {
            lines.append(QStringLiteral("    %1 -> %2%3;")
                             .arg(quoted(nameOf(from.key())), quoted(nameOf(edge.to)),
                                  edge.isKnown ? QString() : QStringLiteral(" [style=dashed]")));
        }
    }
    lines.append(QStringLiteral("}"));
    return lines;
}
