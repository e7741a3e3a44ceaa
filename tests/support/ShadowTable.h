#pragma once

#include <ZelGL/ShadowMapManager.h>

#include <vector>

inline QMatrix4x4 matrixOf(const Orvane::Zel::ShadowMapManager::RenderData::Transform &transform)
{
    return QMatrix4x4(transform.values.data()).transposed(); // the constructor expects rows
}

/// The list as the QVariant that a host passes.
inline QVariant listOf(const std::vector<Orvane::Zel::ShadowMapManager::Light *> &lights)
{
    QVariantList list;
    for (Orvane::Zel::ShadowMapManager::Light *light : lights) {
        list.append(QVariant::fromValue<QObject *>(light));
    }
    return list;
}
