#include "light/StudioLight.h"

#include <QtCore/qmath.h>

#include <algorithm>
#include <cmath>

namespace zeltools {

QVector3D towards(float azimuth, float elevation)
{
    const float turn = qDegreesToRadians(azimuth);
    const float rise = qDegreesToRadians(elevation);
    return {std::sin(turn) * std::cos(rise), std::sin(rise), std::cos(turn) * std::cos(rise)};
}

StudioLight StudioLight::facing(float azimuth)
{
    const SoftLight key{towards(azimuth - 42.0f, 50.0f), 16.0f, QVector3D(1.00f, 0.95f, 0.88f) * 7.4f};
    const SoftLight fill{towards(azimuth + 65.0f, 8.0f), 4.0f, QVector3D(0.72f, 0.84f, 1.00f) * 0.22f};
    const SoftLight rim{towards(azimuth + 150.0f, 35.0f), 24.0f, QVector3D(0.90f, 0.95f, 1.00f) * 8.0f};
    return {{key, fill, rim}, QVector3D(0.60f, 0.68f, 0.78f) * 0.30f, QVector3D(0.42f, 0.38f, 0.34f) * 0.22f};
}

void StudioLight::switchOff(int count)
{
    std::for_each(lights.begin(), lights.begin() + count,
                  [](SoftLight &light) { light.radiance = QVector3D(); });
}

} // namespace zeltools
