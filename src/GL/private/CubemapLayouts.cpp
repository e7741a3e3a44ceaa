#include "CubemapLayouts.h"

#include "../GLLoader.h"

namespace TvoImageCubemapUtils {

namespace {

struct CrossLayout
{
    int columns;
    int rows;
    int cells[kFaces][2];   ///< column and row
    float turns[kFaces][6]; ///< of the matrix before the cells' scale
};

const CrossLayout kWideCross = {4,
                                3,
                                {{2, 1}, {0, 1}, {1, 0}, {1, 2}, {1, 1}, {3, 1}},
                                {{0, 0, 0, -1, -1, 0},
                                 {0, 0, 0, -1, 1, 0},
                                 {1, 0, 0, 0, 0, 1},
                                 {1, 0, 0, 0, 0, -1},
                                 {1, 0, 0, -1, 0, 0},
                                 {-1, 0, 0, -1, 0, 0}}};

const CrossLayout kHighCross = {3,
                                4,
                                {{2, 1}, {0, 1}, {1, 0}, {1, 2}, {1, 1}, {1, 3}},
                                {{0, 0, 0, -1, -1, 0},
                                 {0, 0, 0, -1, 1, 0},
                                 {1, 0, 0, 0, 0, 1},
                                 {1, 0, 0, 0, 0, -1},
                                 {1, 0, 0, -1, 0, 0},
                                 {1, 0, 0, 1, 0, 0}}};

// Two rows of four for each face. A face is a sixth of the width, so a twelfth is half a face, and the odd multiples are the
// centres of the faces.
const float kStripRows[kFaces][8] = {
    {0, 0, -1.0f / 12, 1.0f / 12, 0, -0.5f, 0, 0.5f}, {0, 0, 1.0f / 12, 3.0f / 12, 0, -0.5f, 0, 0.5f},
    {1.0f / 12, 0, 0, 5.0f / 12, 0, 0, 0.5f, 0.5f},   {1.0f / 12, 0, 0, 7.0f / 12, 0, 0, -0.5f, 0.5f},
    {1.0f / 12, 0, 0, 9.0f / 12, 0, -0.5f, 0, 0.5f},  {-1.0f / 12, 0, 0, 11.0f / 12, 0, -0.5f, 0, 0.5f},
};

} // namespace

const CubeFace kCubeFaces[kFaces] = {
    {{1, 0, 0, 0, 0, -1, 0, -1, 0}, {1, 0, 0}}, {{-1, 0, 0, 0, 0, 1, 0, -1, 0}, {0, 1, 0}},
    {{0, 1, 0, 1, 0, 0, 0, 0, 1}, {0, 0, 1}},   {{0, -1, 0, 1, 0, 0, 0, 0, -1}, {1, 1, 0}},
    {{0, 0, 1, 1, 0, 0, 0, -1, 0}, {0, 1, 1}},  {{0, 0, -1, -1, 0, 0, 0, -1, 0}, {1, 0, 1}},
};

const float kQuadVertices[] = {-1, -1, 1, -1, -1, 1, 1, 1};
const float kQuadNormals[] = {1, -1, -1, 1, 1, -1, 1, -1, 1, 1, 1, 1};

const float kFaceDirections[kFaces][9] = {
    {0, 0, -1, 0, 1, 0, -1, 0, 0}, {0, 0, 1, 0, 1, 0, 1, 0, 0},  {1, 0, 0, 0, 0, -1, 0, -1, 0},
    {1, 0, 0, 0, 0, 1, 0, 1, 0},   {1, 0, 0, 0, 1, 0, 0, 0, -1}, {-1, 0, 0, 0, 1, 0, 0, 0, 1},
};

unsigned int faceTarget(int face)
{
    return GL_TEXTURE_CUBE_MAP_POSITIVE_X + static_cast<unsigned int>(face);
}

QMatrix4x2 crossMatrix(bool isHigh, int face)
{
    const CrossLayout &cross = isHigh ? kHighCross : kWideCross;
    const float *t = cross.turns[face];
    const int *cell = cross.cells[face];
    const float sx = 0.5f / static_cast<float>(cross.columns); // half a cell
    const float sy = 0.5f / static_cast<float>(cross.rows);
    // Required: the eight numbers are in the order of columns, and QMatrix4x2 takes them row by row. So the faces of a cross
    // do not come out by direction. Hosts depend on the result; docs/environment-images.md says what to do instead. See
    // TvoImageCubemapUtilsTest.CrossesGiveWhatTheirMatrixGives.
    const float values[] = {t[0] * sx,
                            t[1] * sy,
                            t[2] * sx,
                            t[3] * sy,
                            t[4] * sx,
                            t[5] * sy,
                            static_cast<float>(2 * cell[0] + 1) * sx,
                            static_cast<float>(2 * cell[1] + 1) * sy};
    return QMatrix4x2(values);
}

QMatrix4x2 stripMatrix(int face)
{
    return QMatrix4x2(kStripRows[face]);
}

} // namespace TvoImageCubemapUtils
