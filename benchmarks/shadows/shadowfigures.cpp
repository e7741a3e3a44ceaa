// Prints the figures of docs/shadows.md about the fit of projections to what the camera sees, from random scenes and cameras:
//
//   shadowfigures
//
// covers   the median part of a map that the visible part of the scene covers
// casters  of random points between a point light and a visible point, the part that is closer than the near end of the map
// outside  the part of a cube outside the map of a directional light, by the distance of the light's origin from the cube

#include <ZelGL/ShadowMapManager.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>
#include <vector>

using namespace Orvane::Zel;

namespace {

using Light = ShadowMapManager::Light;
using RenderData = ShadowMapManager::RenderData;

constexpr int kScenes = 400;
constexpr int kPoints = 20000;

std::mt19937 gRandom(1);

float number(float low, float high)
{
    return std::uniform_real_distribution<float>(low, high)(gRandom);
}

QVector3D within(const QVector3D &half)
{
    return half * QVector3D(number(-1, 1), number(-1, 1), number(-1, 1));
}

QVector3D direction()
{
    return within({1, 1, 1}).normalized();
}

QMatrix4x4 transformAt(const QVector3D &origin)
{
    QMatrix4x4 transform;
    transform.translate(origin);
    transform.rotate(number(0, 360), direction());
    return transform;
}

/// The first projection of a light; the identity if it has none.
QMatrix4x4 mapOf(Light &light, const QMatrix4x4 *view, const QMatrix4x4 *projection, const QVector3D &half)
{
    const QPair<QVector3D, QVector3D> scene(-half, half);
    RenderData data;
    const QVariantList lights{QVariant::fromValue<QObject *>(&light)};
    ShadowMapManager::processLights(lights, data, view, projection, &scene);
    return data.transformCount > 0 ? QMatrix4x4(data.transforms[0].values.data()).transposed() : QMatrix4x4();
}

bool isInside(const QVector3D &at)
{
    return std::abs(at.x()) <= 1 && std::abs(at.y()) <= 1 && at.z() >= 0 && at.z() <= 1;
}

/// The part of the map, a square of side 2, that the convex hull of the points covers.
double areaCovered(const std::vector<QVector3D> &points)
{
    const auto farthest = [&](int degree) {
        const double x = std::cos(degree * M_PI / 180);
        const double y = std::sin(degree * M_PI / 180);
        return *std::max_element(points.begin(), points.end(), [&](const QVector3D &a, const QVector3D &b) {
            return x * double(a.x() - b.x()) + y * double(a.y() - b.y()) < 0;
        });
    };
    double twice = 0;
    for (int degree = 0; degree < 360; ++degree) {
        const QVector3D from = farthest(degree);
        const QVector3D to = farthest(degree + 1);
        twice += double(from.x() * to.y() - to.x() * from.y());
    }
    return twice / 2 / 4;
}

void printCoverage(Light::Type type)
{
    std::vector<double> covered;
    int casters = 0;
    int lost = 0;
    for (int scene = 0; scene < kScenes; ++scene) {
        const QVector3D half(number(0.5f, 10), number(0.5f, 10), number(0.5f, 10));
        const float reach = half.length();
        QMatrix4x4 view;
        view.lookAt(number(0.1f, 2.5f) * reach * direction(), within(half), direction());
        QMatrix4x4 projection;
        projection.perspective(number(25, 100), number(0.6f, 2), number(0.01f, 0.1f) * reach,
                               number(1, 4) * reach);
        Light light;
        light.setType(type);
        light.setSpotCutoff(0.785f);
        const QVector3D origin = within(half) + number(0, 1) * reach * direction();
        light.setTransform(transformAt(origin));
        const QMatrix4x4 map = mapOf(light, &view, &projection, half);
        const QMatrix4x4 toScreen = projection * view;
        std::vector<QVector3D> places;
        for (int i = 0; i < kPoints && !map.isIdentity(); ++i) {
            const QVector3D point = within(half);
            const QVector4D seen = toScreen * QVector4D(point, 1);
            const QVector3D at = map.map(point);
            if (std::max({std::abs(seen.x()), std::abs(seen.y()), std::abs(seen.z())}) < seen.w()
                && isInside(at)) {
                places.push_back(at);
                const QVector3D caster = origin + number(0.01f, 1) * (point - origin);
                const QVector3D part = caster / half;
                if (std::max({std::abs(part.x()), std::abs(part.y()), std::abs(part.z())}) < 1) {
                    ++casters;
                    lost += isInside(map.map(caster)) ? 0 : 1;
                }
            }
        }
        if (places.size() > 100) {
            covered.push_back(areaCovered(places));
        }
    }
    std::nth_element(covered.begin(), covered.begin() + std::ptrdiff_t(covered.size() / 2), covered.end());
    std::printf("%s: covers %.0f %%\n", type == Light::ePoint ? "point light" : "directional light",
                100 * covered[covered.size() / 2]);
    if (type == Light::ePoint) {
        std::printf("point light: casters %.0f %%\n", 100.0 * lost / casters);
    }
}

} // namespace

int main()
{
    printCoverage(Light::eDirectional);
    printCoverage(Light::ePoint);
    for (const float widths : {0.0f, 1.0f, 5.0f, 20.0f}) {
        const QVector3D half(1, 1, 1);
        Light light;
        light.setType(Light::eDirectional);
        QMatrix4x4 transform;
        transform.translate(1 + 2 * widths, 0, 0);
        light.setTransform(transform);
        const QMatrix4x4 map = mapOf(light, nullptr, nullptr, half);
        int outside = 0;
        for (int i = 0; i < kPoints; ++i) {
            outside += isInside(map.map(within(half))) ? 0 : 1;
        }
        std::printf("directional light, %.0f widths away: outside %.1f %%\n", double(widths),
                    100.0 * outside / kPoints);
    }
    return 0;
}
