#pragma once

#include <ZelKit/EnvironmentImage.h>

#include <QtGui/QColor>
#include <QtGui/QImage>
#include <QtGui/QVector4D>

/// A latlong image with values above 1: a place with a window on each side of the eye, a warm floor and a row of lamps.
Orvane::ZelKit::LightImage paintInterior(const QSize &size);

/// A square with a flower, lowest row first.
QImage paintFlower(int petals);

/// Red, green and blue from 0 to 1, and \a alpha.
QVector4D components(const QColor &color, float alpha = 1.0f);
