#include "app/Window.h"

#include "file/Console.h"
#include "frame/Exhibit.h"
#include "frame/Graphics.h"
#include "frame/Options.h"
#include "frame/Programs.h"

#include <ZelGL/OpenGLDeviceContext.h>
#include <ZelKit/FrameMeter.h>
#include <ZelKit/Overlay.h>

#include <QtGui/QGuiApplication>
#include <QtGui/QKeyEvent>
#include <QtGui/QMouseEvent>
#include <QtGui/QWheelEvent>

#include <cmath>

using Orvane::ZelKit::FrameMeter;
using Orvane::ZelKit::Overlay;

namespace zeltools {

namespace {

constexpr int kValueColumn = 10;        ///< characters before the values of a report
constexpr float kAnglePerStep = 120.0f; ///< of the wheel, in Qt's unit
constexpr int kMeasuredTogether = 30;   ///< frames that one mean covers
constexpr float kStepsPerKey = 2.0f;
constexpr int kPollInterval = 200; ///< milliseconds between looks at the files of shaders
constexpr qreal kClickReach = 3.0; ///< device-independent pixels that the pointer may move during a click

void sayAll(const QStringList &lines)
{
    for (const QString &line : lines) {
        Console::printLine(line);
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
        _exhibit.releaseGLObjects();
        _stage.reset();
        _overlay.reset();
        _meter.reset();
        _programs.reset();
        Orvane::Zel::OpenGLDeviceContext::resetContext();
        doneCurrent();
    }
}

void Window::initializeGL()
{
    if (const Failure failure = createObjects()) {
        fail(*failure);
        return;
    }
    _isUp = true;
    Console::printLine(QStringLiteral("driver    ") + describeDriver());
    sayAll(_exhibit.describe());
}

Failure Window::createObjects()
{
    if (const Failure failure = startLibrary(_options)) {
        return failure;
    }
    _programs = std::make_unique<Programs>(_options.shaders);
    if (!_options.shaders.isEmpty()) {
        startTimer(kPollInterval);
    }
    auto stage = makeStage(_options);
    if (!stage) {
        return stage.problem();
    }
    _stage = std::move(*stage);
    QString error;
    _overlay = Overlay::create(&error);
    if (_overlay == nullptr) {
        return Problem{ExitCode::eGL, error};
    }
    _overlay->setIndent(kValueColumn);
    _meter = std::make_unique<FrameMeter>();
    return _exhibit.createGLObjects(*_programs, _options);
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
    if (const Failure failure = zeltools::resize(*_stage, pixels)) {
        fail(*failure);
        return;
    }
    if (!_isFramed) {
        _exhibit.frame(pixels);
        _isFramed = true;
    } else if (pixels != _fittedTo) {
        _exhibit.refit(pixels);
    }
    _fittedTo = pixels;
    pollShaders();
    const bool measures = _showsStatistics || _options.printsStatistics;
    if (measures) {
        _meter->begin();
    }
    const Failure failure = drawFrame(_exhibit, *_stage, pixels, defaultFramebufferObject());
    if (measures) {
        _meter->end();
    }
    if (failure) {
        fail(*failure);
        return;
    }
    if (_describesNextFrame) {
        sayAll(_exhibit.describeFrame());
        sayAll(_options.printsStatistics ? describeStatistics() : QStringList());
        _describesNextFrame = false;
    }
    const QStringList lines = _programs->report() + (_showsStatistics ? describeStatistics() : QStringList());
    if (!lines.isEmpty()) {
        _overlay->draw(lines, pixels, devicePixelRatio());
    }
    if (_meter->frames() >= kMeasuredTogether) {
        _meter->reset();
    }
}

bool Window::pollShaders()
{
    return !_options.shaders.isEmpty() && _programs->poll();
}

void Window::timerEvent(QTimerEvent *event)
{
    makeCurrent();
    if (_isUp && pollShaders()) {
        update();
    }
    doneCurrent();
    QOpenGLWindow::timerEvent(event);
}

QStringList Window::describeStatistics()
{
    return _exhibit.describeStatistics() + _meter->describe();
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
    const QString picked = _exhibit.pick((event->localPos() * devicePixelRatio()).toPoint(), sizeInPixels());
    doneCurrent();
    if (!picked.isEmpty()) {
        Console::printLine(picked);
        update();
    }
}

void Window::mouseMoveEvent(QMouseEvent *event)
{
    if (event->buttons() == Qt::NoButton) { // windows receive these events too
        return;
    }
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
        _showsStatistics = !_showsStatistics;
        _meter->reset();
        break;
    case Qt::Key_Home:
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
        _describesNextFrame = true;
    }
    update();
}

} // namespace zeltools
