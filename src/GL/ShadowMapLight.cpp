#include "ShadowMapLight.h"

namespace Orvane { namespace Zel {

ShadowMapLight::ShadowMapLight(QObject *parent)
    : QObject(parent)
{
}

ShadowMapLight::~ShadowMapLight() = default;

}} // namespace Orvane::Zel
