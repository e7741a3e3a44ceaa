#include "SMAATables.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace SMAATables {

namespace {

struct Point
{
    double x;
    double y;
};

/// The overlap of a line with the two pixels at an edge: the one after it and the one before it.
struct Areas
{
    double after = 0.0;
    double before = 0.0;
};

Areas operator+(Areas a, Areas b)
{
    return {a.after + b.after, a.before + b.before};
}

Areas operator*(double s, Areas a)
{
    return {s * a.after, s * a.before};
}

// Lines along rows. The edge is on the x axis, from 0 to left + right + 1. The ideal line connects its ends, which are half
// a pixel above or below the axis if an edge crosses there.

/// The areas between the axis and a line from \a a to \a b, on both sides, in the pixel column from \a x to x + 1.
Areas areaUnder(Point a, Point b, double x)
{
    const double from = std::max(x, a.x);
    const double to = std::min(x + 1.0, b.x);
    if (from >= to) {
        return {};
    }
    const double slope = (b.y - a.y) / (b.x - a.x);
    const double y0 = a.y + slope * (from - a.x);
    const double y1 = a.y + slope * (to - a.x);
    const auto positive = [&](double p, double q) { // the part of the trapezoid above the axis
        if (p <= 0.0 && q <= 0.0) {
            return 0.0;
        }
        if (p >= 0.0 && q >= 0.0) {
            return 0.5 * (p + q) * (to - from);
        }
        const double top = std::max(p, q);
        return 0.5 * top * (to - from) * top / (top - std::min(p, q));
    };
    return {positive(-y0, -y1), positive(y0, y1)};
}

/// Increases the areas of short U shapes, whose two halves look too thin otherwise.
Areas widened(double length, Areas areas)
{
    const double t = std::min(length / 32.0, 1.0);
    const auto widen = [t](double area) { return t * area + (1.0 - t) * 0.5 * std::sqrt(2.0 * area); };
    return {widen(areas.after), widen(areas.before)};
}

/// The edges that cross at an end, in quarters of the filtered value that is read there.
enum Crossing { eNone = 0, eBefore = 1, eAfter = 3, eBoth = 4 };

/// The areas of the pixel with \a left pixels of the line before it and \a right pixels after it. \a offset: of the sample
/// from the pixel centre.
Areas areaOfLine(Crossing atLeft, Crossing atRight, int left, int right, double offset)
{
    if ((atLeft == eNone || atLeft == eBoth) && (atRight == eNone || atRight == eBoth)) {
        return {};
    }
    const double length = left + right + 1.0;
    const auto height = [offset](Crossing crossing) {
        return crossing == eBefore ? 0.5 + offset : offset - 0.5;
    };
    const Point middle{0.5 * length, 0.0};
    const auto leftHalf = [&] { return areaUnder({0.0, height(atLeft)}, middle, left); };
    const auto rightHalf = [&] { return areaUnder(middle, {length, height(atRight)}, left); };
    const auto whole = [&](Crossing a, Crossing b) {
        return areaUnder({0.0, height(a)}, {length, height(b)}, left);
    };
    if (atLeft == eNone) {
        return rightHalf();
    }
    if (atRight == eNone) {
        return leftHalf();
    }
    // If both edges cross at one end, the one opposite to the crossing at the other end matters.
    if (atLeft == eBoth || atRight == eBoth) {
        return atLeft == eBoth ? whole(atRight == eBefore ? eAfter : eBefore, atRight)
                               : whole(atLeft, atLeft == eBefore ? eAfter : eBefore);
    }
    if (atLeft == atRight) {
        return widened(length, leftHalf()) + widened(length, rightHalf());
    }
    if (offset == 0.0) {
        return whole(atLeft, atRight);
    }
    return 0.5 * (whole(atLeft, atRight) + leftHalf() + rightHalf());
}

// Diagonals. The staircase rises one pixel per column: from (1, 0) up to (1, 1), right to (2, 1), and so on. The pixel
// after the edge of step n is the unit square at (n + 1, n), the pixel before it the square above.

/// The area of the part of the unit square at \a corner below the line through \a a and \a b, which cuts the square.
double areaBelow(Point a, Point b, Point corner)
{
    const auto side = [&](Point p) { return (b.y - a.y) * (p.x - a.x) - (b.x - a.x) * (p.y - a.y); };
    const std::array<Point, 4> square = {corner, Point{corner.x + 1, corner.y},
                                         Point{corner.x + 1, corner.y + 1}, Point{corner.x, corner.y + 1}};
    std::array<Point, 8> kept{};
    size_t count = 0;
    for (size_t i = 0; i < square.size(); ++i) {
        const Point p = square[i];
        const Point q = square[(i + 1) % square.size()];
        const double atP = side(p);
        const double atQ = side(q);
        if (atP >= 0.0) {
            kept[count++] = p;
        }
        if ((atP > 0.0 && atQ < 0.0) || (atP < 0.0 && atQ > 0.0)) {
            const double t = atP / (atP - atQ);
            kept[count++] = {p.x + t * (q.x - p.x), p.y + t * (q.y - p.y)};
        }
    }
    double twice = 0.0;
    for (size_t i = 0; i < count; ++i) {
        const Point p = kept[i];
        const Point q = kept[(i + 1) % count];
        twice += p.x * q.y - q.x * p.y;
    }
    return 0.5 * twice;
}

/// The possible start points of the line: the centre of a longer last step, which is vertical for 1 and horizontal for 2;
/// both for 3. Without a crossing edge, both are the corner between the steps.
std::array<Point, 2> diagonalStarts(int crossing)
{
    switch (crossing) {
    case 1:
        return {Point{1, 0}, Point{1, 0}};
    case 2:
        return {Point{1, 1}, Point{1, 1}};
    case 3:
        return {Point{1, 1}, Point{1, 0}};
    default:
        return {Point{0, 0}, Point{1, 0}};
    }
}

/// The same for the other end, relative to the length: horizontal and vertical are exchanged.
std::array<Point, 2> diagonalEnds(int crossing)
{
    constexpr std::array<int, 4> mirrored = {0, 2, 1, 3};
    return diagonalStarts(mirrored[static_cast<size_t>(crossing)]);
}

Areas areaOfDiagonal(int atLeft, int atRight, int left, int right, Point offset)
{
    const double length = left + right + 1.0;
    const std::array<Point, 2> starts = diagonalStarts(atLeft);
    const std::array<Point, 2> ends = diagonalEnds(atRight);
    Areas mean;
    for (size_t i = 0; i < starts.size(); ++i) {
        Point a = starts[i];
        Point b{ends[i].x + length, ends[i].y + length};
        if (atLeft > 0) {
            a = {a.x + offset.x, a.y + offset.y};
        }
        if (atRight > 0) {
            b = {b.x + offset.x, b.y + offset.y};
        }
        const double n = left;
        mean = mean + 0.5 * Areas{1.0 - areaBelow(a, b, {n + 1, n}), areaBelow(a, b, {n + 1, n + 1})};
    }
    return mean;
}

std::uint8_t toByte(double value)
{
    return static_cast<std::uint8_t>(std::lround(255.0 * std::min(std::max(value, 0.0), 1.0)));
}

/// Builds the area table.
class AreaTable
{
public:
    void set(int x, int y, Areas areas)
    {
        const auto at = static_cast<size_t>(y * kAreaWidth + x) * 2;
        _texels[at] = toByte(areas.after);
        _texels[at + 1] = toByte(areas.before);
    }

    std::vector<std::uint8_t> take() { return std::move(_texels); }

private:
    std::vector<std::uint8_t> _texels = std::vector<std::uint8_t>(size_t(kAreaWidth) * kAreaHeight * 2);
};

constexpr int kPart = 80;      ///< width and height of a part of the area table
constexpr int kDistances = 16; ///< of lines; the table is indexed by their squares
constexpr int kDiagDistances = 20;

void fillLines(AreaTable &table, int part, double offset)
{
    for (const Crossing atLeft : {eNone, eBefore, eAfter, eBoth}) {
        for (const Crossing atRight : {eNone, eBefore, eAfter, eBoth}) {
            for (int y = 0; y < kDistances; ++y) {
                for (int x = 0; x < kDistances; ++x) {
                    table.set(kDistances * atLeft + x, kPart * part + kDistances * atRight + y,
                              areaOfLine(atLeft, atRight, x * x, y * y, offset));
                }
            }
        }
    }
}

void fillDiagonals(AreaTable &table, int part, Point offset)
{
    for (int atLeft = 0; atLeft < 4; ++atLeft) {
        for (int atRight = 0; atRight < 4; ++atRight) {
            for (int y = 0; y < kDiagDistances; ++y) {
                for (int x = 0; x < kDiagDistances; ++x) {
                    table.set(kPart + kDiagDistances * atLeft + x,
                              kPart * part + kDiagDistances * atRight + y,
                              areaOfDiagonal(atLeft, atRight, x, y, offset));
                }
            }
        }
    }
}

/// The four edges that one filtered lookup combines: that of the pixel with the greatest weight, of the next pixel of the
/// search, and of both pixels in the row before.
struct Mixed
{
    bool own;
    bool next;
    bool ownBefore;
    bool nextBefore;

    /// The filtered value in 32nds: the weights are 3/4 and 1/4 along the search, 7/8 and 1/8 across it.
    int value() const { return 21 * own + 7 * next + 3 * ownBefore + nextBefore; }
};

Mixed mixed(int bits)
{
    return {(bits & 1) != 0, (bits & 2) != 0, (bits & 4) != 0, (bits & 8) != 0};
}

/// In a backward search the crossing edge of the first pixel is after the pixel, in a forward search before it.
int pixelsOfLine(Mixed crossing, Mixed edges, bool forward)
{
    const bool nearCrossing = crossing.own || crossing.ownBefore;
    const bool farCrossing = crossing.next || crossing.nextBefore;
    if (!edges.own || (forward && nearCrossing)) {
        return 0;
    }
    const bool goesOn = edges.next && !(forward ? farCrossing : nearCrossing);
    return goesOn ? 2 : 1;
}

} // namespace

std::vector<std::uint8_t> area()
{
    constexpr std::array<double, 7> lineOffsets = {0.0, -0.25, 0.25, -0.125, 0.125, -0.375, 0.375};
    constexpr std::array<Point, 5> diagonalOffsets = {
        Point{0.0, 0.0}, {0.25, -0.25}, {-0.25, 0.25}, {0.125, -0.125}, {-0.125, 0.125}};
    AreaTable table;
    for (size_t part = 0; part < lineOffsets.size(); ++part) {
        fillLines(table, static_cast<int>(part), lineOffsets[part]);
    }
    for (size_t part = 0; part < diagonalOffsets.size(); ++part) {
        fillDiagonals(table, static_cast<int>(part), diagonalOffsets[part]);
    }
    return table.take();
}

std::vector<std::uint8_t> search()
{
    constexpr int kValues = 33; // number of values of a filtered edge
    std::vector<std::uint8_t> texels(size_t(kSearchWidth) * kSearchHeight);
    for (int crossingBits = 0; crossingBits < 16; ++crossingBits) {
        for (int edgeBits = 0; edgeBits < 16; ++edgeBits) {
            const Mixed crossing = mixed(crossingBits);
            const Mixed edges = mixed(edgeBits);
            const int row = kValues - 1 - edges.value(); // the greatest value first; small values have no row
            for (const bool forward : {false, true}) {
                const int column = crossing.value() + (forward ? kValues : 0);
                if (row < kSearchHeight && column < kSearchWidth) {
                    texels[static_cast<size_t>(row * kSearchWidth + column)] =
                        static_cast<std::uint8_t>(127 * pixelsOfLine(crossing, edges, forward));
                }
            }
        }
    }
    return texels;
}

} // namespace SMAATables
