#pragma once

#include <QtGui/QVector3D>

#include <cmath>

/// A vector of three doubles, for reference results that are more exact than the tested ones.
struct Vec
{
    Vec(double x_, double y_, double z_)
        : x(x_)
        , y(y_)
        , z(z_)
    {
    }
    Vec(const QVector3D &v)
        : Vec(double(v.x()), double(v.y()), double(v.z()))
    {
    }

    QVector3D rounded() const { return {float(x), float(y), float(z)}; }

    double x, y, z;
};

inline Vec operator+(const Vec &a, const Vec &b)
{
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline Vec operator-(const Vec &a, const Vec &b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline Vec operator*(double s, const Vec &a)
{
    return {s * a.x, s * a.y, s * a.z};
}
inline double dot(const Vec &a, const Vec &b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline Vec cross(const Vec &a, const Vec &b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline double length(const Vec &a)
{
    return std::sqrt(dot(a, a));
}
inline Vec normalized(const Vec &v)
{
    return 1.0 / length(v) * v;
}

/// The direction of a point on a face of GL's cube maps. u, v: from 0 to 1. The greatest coordinate of the result is 1.
inline Vec directionOfFace(int face, double u, double v)
{
    const double s = 2 * u - 1;
    const double t = 2 * v - 1;
    const Vec directions[] = {{1, -t, -s}, {-1, -t, s}, {s, 1, t}, {s, -1, -t}, {s, -t, 1}, {-s, -t, -1}};
    return directions[face];
}
