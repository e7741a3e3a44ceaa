#include "scene/StressScene.h"

#include <QtCore/qmath.h>
#include <QtGui/QColor>
#include <QtGui/QQuaternion>

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>

namespace zelview {

namespace {

constexpr int kMaterials = 32;
constexpr float kSpacing = 3.0f; ///< distance of the bodies, whose size is about 1

/// Appends a closed surface as a grid of points. \a point takes two angles, in turns; the normals are computed from
/// neighbouring points.
Mesh appendSurface(int columns, int rows, const std::function<QVector3D(float, float)> &point, Scene &scene)
{
    Mesh mesh;
    mesh.firstIndex = quint32(scene.indices.size());
    mesh.firstVertex = quint32(scene.vertices.size());
    constexpr float kStep = 1e-3f;
    for (int row = 0; row <= rows; ++row) {
        for (int column = 0; column <= columns; ++column) {
            const float u = float(column) / float(columns);
            const float v = float(row) / float(rows);
            const QVector3D here = point(u, v);
            const QVector3D alongU = point(u + kStep, v) - point(u - kStep, v);
            const QVector3D alongV = point(u, v + kStep) - point(u, v - kStep);
            QVector3D normal = QVector3D::crossProduct(alongU, alongV).normalized();
            normal = normal.isNull() ? here.normalized() : normal;
            scene.vertices.push_back({{here.x(), here.y(), here.z()},
                                      {normal.x(), normal.y(), normal.z()},
                                      {u, v},
                                      {255, 255, 255, 255},
                                      {}});
            mesh.bounds.add(here);
        }
    }
    const auto index = [&](int column, int row) { return quint32(row * (columns + 1) + column); };
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < columns; ++column) {
            const quint32 corners[] = {index(column, row), index(column + 1, row), index(column + 1, row + 1),
                                       index(column, row + 1)};
            for (const int corner : {0, 1, 2, 0, 2, 3}) {
                scene.indices.push_back(corners[corner]);
            }
        }
    }
    mesh.indexCount = quint32(scene.indices.size()) - mesh.firstIndex;
    mesh.vertexCount = quint32(scene.vertices.size()) - mesh.firstVertex;
    return mesh;
}

QVector3D onCircle(float turns)
{
    return {std::cos(turns * 2.0f * float(M_PI)), 0.0f, -std::sin(turns * 2.0f * float(M_PI))};
}

/// Appends a sphere, a ring, a pillow and a spindle.
std::vector<Mesh> appendShapes(Scene &scene)
{
    const QVector3D up(0.0f, 1.0f, 0.0f);
    const auto sphere = [&](float u, float v) {
        const float angle = (v - 0.5f) * float(M_PI);
        return 0.6f * (std::cos(angle) * onCircle(u) + std::sin(angle) * up);
    };
    const auto ring = [&](float u, float v) {
        const QVector3D around = onCircle(v);
        return (0.6f - 0.22f * around.x()) * onCircle(u) - 0.22f * around.z() * up;
    };
    const auto pillow = [&](float u, float v) {
        const QVector3D p = sphere(u, v);
        const float sixths = std::pow(p.x(), 6.0f) + std::pow(p.y(), 6.0f) + std::pow(p.z(), 6.0f);
        return p * 0.5f / std::pow(sixths, 1.0f / 6.0f);
    };
    const auto spindle = [&](float u, float v) {
        const float along = 2.0f * v - 1.0f;
        return 0.45f * (1.0f - along * along) * onCircle(u) + 0.9f * along * up;
    };
    return {appendSurface(20, 10, sphere, scene), appendSurface(24, 10, ring, scene),
            appendSurface(20, 10, pillow, scene), appendSurface(16, 10, spindle, scene)};
}

Material makeMaterial(int number)
{
    const QColor color = QColor::fromHsvF(qreal(number) / kMaterials, number % 4 == 3 ? 0.15 : 0.75, 0.85);
    Material material;
    material.name = QStringLiteral("material %1").arg(number);
    material.baseColor = {float(color.redF() * color.redF()), float(color.greenF() * color.greenF()),
                          float(color.blueF() * color.blueF()), 1.0f};
    material.metalness = number % 3 == 0 ? 1.0f : 0.0f;
    material.roughness = 0.25f + 0.5f * float(number % 5) / 4.0f;
    material.isTwoSided = false;
    return material;
}

} // namespace

Scene makeStressScene(int bodies)
{
    Scene scene;
    scene.drawsTogether = 1;
    for (int i = 0; i < kMaterials; ++i) {
        scene.materials.push_back(makeMaterial(i));
    }
    const std::vector<Mesh> shapes = appendShapes(scene);
    for (const Mesh &shape : shapes) {
        for (int material = 0; material < kMaterials; ++material) {
            scene.meshes.push_back(shape);
            scene.meshes.back().material = material;
        }
    }

    std::mt19937 random(1);
    const auto unit = [&] { return float(random() >> 8) / float(1 << 24); };
    const int side = std::max(int(std::ceil(std::cbrt(float(bodies)))), 1);
    const float middle = 0.5f * float(side - 1);
    scene.nodes.push_back({QStringLiteral("bodies"), -1, QMatrix4x4(), false});
    for (int i = 0; i < bodies; ++i) {
        const QVector3D cell(float(i % side), float(i / side % side), float(i / (side * side)));
        const QVector3D place = (cell - QVector3D(middle, middle, middle)) * kSpacing
                                + QVector3D(unit() - 0.5f, unit() - 0.5f, unit() - 0.5f) * kSpacing;
        Node node{QStringLiteral("body %1").arg(i), 0, QMatrix4x4(), false};
        node.local.translate(place);
        node.local.rotate(QQuaternion::fromEulerAngles(360.0f * unit(), 360.0f * unit(), 360.0f * unit()));
        node.local.scale(0.6f + 0.8f * unit());
        const int mesh = int(random() % scene.meshes.size());
        scene.draws.push_back({mesh, node.local, int(scene.nodes.size()), false});
        scene.nodes.push_back(node);
        const float reach = 1.4f * scene.meshes[size_t(mesh)].bounds.radius();
        scene.bounds.add(place - QVector3D(reach, reach, reach));
        scene.bounds.add(place + QVector3D(reach, reach, reach));
    }
    return scene;
}

View stressView(const Scene &scene, float time, float aspect)
{
    constexpr float kFieldOfView = 55.0f;
    constexpr float kWide = 0.9f; // greatest distance of the flight from the middle, in radii of the scene
    const float turn = time * 2.0f * float(M_PI);
    const float radius = scene.bounds.radius();
    const QVector3D center = scene.bounds.center();
    const auto place = [&](float angle) {
        return center
               + radius * kWide * (0.65f + 0.35f * std::cos(2.0f * angle))
                     * QVector3D(std::sin(angle), 0.45f * std::sin(2.0f * angle), std::cos(angle));
    };
    const QVector3D eye = place(turn);
    // The camera looks ahead, and slightly towards the middle.
    const QVector3D target = 0.6f * place(turn + 0.5f) + 0.4f * center;
    View view;
    view.eye = eye;
    view.view.lookAt(eye, target, {0.0f, 1.0f, 0.0f});
    view.projection.perspective(kFieldOfView, aspect, 0.05f, 2.5f * radius);
    const QVector3D back = (eye - target).normalized();
    view.azimuth = qRadiansToDegrees(std::atan2(back.x(), back.z()));
    return view;
}

} // namespace zelview
