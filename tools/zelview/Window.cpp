#include "Window.h"

#include "Console.h"
#include "Exhibit.h"
#include "Graphics.h"
#include "Options.h"
#include "Programs.h"
#include "Stage.h"

#include <ZelGL/OpenGLDeviceContext.h>

#include <QtGui/QGuiApplication>
#include <QtGui/QKeyEvent>
#include <QtGui/QMouseEvent>
#include <QtGui/QWheelEvent>

namespace zelview {

namespace {

constexpr float kAnglePerStep = 120.0f; ///< of the wheel, as Qt counts
constexpr float kStepsPerKey = 2.0f;
constexpr qreal kClickReach = 3.0; ///< device-independent pixels that a click may wander

void sayAll(const QStringList &lines)
{
    for (const QString &line : lines) {
        Console::say(line);
    }
}

} // namespace

Window::Window(Exhibit &exhibit, const Options &options)
    : _exhibit(exhibit)
    , _options(options)
{
    setFormat(surfaceFormat(options));
    resize(options.size);
}

Window::~Window()
{
    if (isValid()) {
        makeCurrent();
        _exhibit.takeDown();
        _stage.reset();
        _programs.reset();
        Orvane::Zel::OpenGLDeviceContext::resetContext();
        doneCurrent();
    }
}

void Window::initializeGL()
{
    if (const Failure failure = putUp()) {
        fail(*failure);
        return;
    }
    _isUp = true;
    Console::say(QStringLiteral("driver    ") + describeDriver());
    sayAll(_exhibit.describe());
}

Failure Window::putUp()
{
    if (const Failure failure = startLibrary(_options)) {
        return failure;
    }
    _programs = std::make_unique<Programs>();
    auto stage = Stage::create(*_programs, _options.samples, _options.edgeFilter);
    if (!stage) {
        return stage.problem();
    }
    _stage = std::move(*stage);
    return _exhibit.putUp(*_programs, _options);
}

void Window::fail(const Problem &problem)
{
    _failure = problem;
    _isUp = false;
    QGuiApplication::exit(int(problem.code));
}

QSize Window::sizeInPixels() const
{
    return (QSizeF(size()) * devicePixelRatio()).toSize().expandedTo(QSize(1, 1));
}

void Window::paintGL()
{
    if (!_isUp) {
        return;
    }
    const QSize pixels = sizeInPixels();
    if (const Failure failure = _stage->resize(pixels)) {
        fail(*failure);
        return;
    }
    if (!_isFramed) {
        _exhibit.frame(pixels);
        _isFramed = true;
    }
    if (const Failure failure = _exhibit.prepareFrame(pixels)) {
        fail(*failure);
        return;
    }
    _stage->begin();
    _exhibit.draw(pixels);
    if (_speaksNext) {
        sayAll(_exhibit.describeFrame());
        _speaksNext = false;
    }
    _stage->end(defaultFramebufferObject(), _exhibit.isDithered());
}

void Window::mousePressEvent(QMouseEvent *event)
{
    _lastPosition = event->localPos();
    _pressPosition = event->localPos();
    _hasDragged = false;
}

void Window::mouseReleaseEvent(QMouseEvent *event)
{
    const bool isClick = event->button() == Qt::LeftButton && !_hasDragged;
    if (!isClick || !_isUp) {
        return;
    }
    makeCurrent();
    const QString find = _exhibit.pick((event->localPos() * devicePixelRatio()).toPoint(), sizeInPixels());
    doneCurrent();
    if (!find.isEmpty()) {
        Console::say(find);
        update();
    }
}

void Window::mouseMoveEvent(QMouseEvent *event)
{
    _hasDragged = _hasDragged || (event->localPos() - _pressPosition).manhattanLength() > kClickReach;
    const QVector2D way = QVector2D(event->localPos() - _lastPosition) / float(qMax(height(), 1));
    _lastPosition = event->localPos();
    const bool moves = (event->buttons() & (Qt::MiddleButton | Qt::RightButton)) != 0
                       || event->modifiers().testFlag(Qt::ShiftModifier);
    _exhibit.drag(moves ? Exhibit::eMove : Exhibit::eTurn, way);
    update();
}

void Window::wheelEvent(QWheelEvent *event)
{
    _exhibit.zoom(float(event->angleDelta().y()) / kAnglePerStep);
    update();
}

void Window::keyPressEvent(QKeyEvent *event)
{
    switch (event->key()) {
    case Qt::Key_Escape:
        close();
        break;
    case Qt::Key_F:
        _isFramed = false;
        break;
    case Qt::Key_Plus:
        _exhibit.zoom(kStepsPerKey);
        break;
    case Qt::Key_Minus:
        _exhibit.zoom(-kStepsPerKey);
        break;
    default:
        if (!_exhibit.key(event->key())) {
            return;
        }
        _speaksNext = true;
    }
    update();
}

} // namespace zelview
