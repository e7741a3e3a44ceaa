#include "EnvironmentImage.h"

#include "private/Failure.h"

#include <algorithm>
#include <cmath>

namespace Orvane { namespace ZelKit {

namespace {

constexpr int kSearchWidth = 256;      ///< texels; the search ignores single texels of finer images
constexpr float kMinProminence = 6.0f; ///< radiance of a light, in means over all directions
constexpr float kSpread = 0.94f;       ///< cosine of the angle around the centre that belongs to the light
constexpr int kRounds = 3;             ///< iterations that refine the centre
constexpr float kMinShare = 0.2f;      ///< of all irradiance; the shadow of a weaker light would be invisible

float luminance(const QVector3D &light)
{
    return QVector3D::dotProduct(light, {0.2126f, 0.7152f, 0.0722f});
}

/// Calls \a visit for every texel brighter than a limit, with its column and row.
template <typename Image, typename Visit>
void forEachTexel(Image &environment, float limit, const Visit &visit)
{
    for (int y = 0; y < environment.image.size.height(); ++y) {
        for (int x = 0; x < environment.image.size.width(); ++x) {
            if (luminance(environment.at(x, y)) > limit) {
                visit(environment.at(x, y), x, y);
            }
        }
    }
}

float meanOf(const EnvironmentImage &environment)
{
    double sum = 0.0;
    forEachTexel(environment, -1.0f, [&](const QVector3D &light, int x, int y) {
        sum += double(luminance(light) * environment.solidAngle(x, y));
    });
    return float(sum / (4.0 * M_PI));
}

QVector3D brightestDirection(EnvironmentImage environment)
{
    while (environment.image.size.width() > kSearchWidth) {
        environment.image = halved(environment.image);
    }
    float most = -1.0f;
    QVector3D found;
    forEachTexel(environment, most, [&](const QVector3D &light, int x, int y) {
        if (luminance(light) > most) {
            most = luminance(light);
            found = environment.direction(x, y);
        }
    });
    return found;
}

/// The part of the light of a texel that exceeds a limit below it.
QVector3D excess(const QVector3D &light, float limit)
{
    return light * (1.0f - limit / luminance(light));
}

} // namespace

std::optional<DistantLight> EnvironmentImage::takeStrongestLight()
{
    EnvironmentImage &environment = *this;
    if (image.size.isEmpty()
        || size_t(image.size.width()) * size_t(image.size.height()) != image.texels.size()) {
        fail(nullptr, QStringLiteral("an environment image must come from prepared() or fromTexture()"));
        return {};
    }
    const float mean = meanOf(environment);
    const float limit = kMinProminence * mean;

    DistantLight taken{brightestDirection(environment), {}};
    for (int round = 0; round < kRounds; ++round) {
        QVector3D irradiance;
        QVector3D middle;
        forEachTexel(environment, limit, [&](const QVector3D &light, int x, int y) {
            const QVector3D direction = environment.direction(x, y);
            if (QVector3D::dotProduct(direction, taken.direction) >= kSpread) {
                const QVector3D over = excess(light, limit) * environment.solidAngle(x, y);
                irradiance += over;
                middle += direction * luminance(over);
            }
        });
        taken = {middle.normalized(), irradiance};
    }
    // False for a NaN too. Both are 0 in a black image.
    if (!(luminance(taken.irradiance) > kMinShare * float(M_PI) * mean)) {
        return {};
    }
    forEachTexel(environment, limit, [&](QVector3D &light, int x, int y) {
        if (QVector3D::dotProduct(environment.direction(x, y), taken.direction) >= kSpread) {
            light -= excess(light, limit);
        }
    });
    return taken;
}

}} // namespace Orvane::ZelKit
