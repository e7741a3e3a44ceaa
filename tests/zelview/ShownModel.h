#pragma once

#include "Zelview.h"

#include "app/ExhibitFactory.h"
#include "frame/Graphics.h"
#include "frame/Options.h"
#include "frame/Programs.h"
#include "frame/Targets.h"

#include <ZelGL/ZelGL.h>

/// A model with its own context and without a window, and pictures of it, upside down.
class ShownModel
{
public:
    ShownModel(const zeltools::Options &options, const QSize &size)
        : _size(size)
        , _exhibit(std::move(*zeltools::loadExhibit(options)))
        , _context(std::move(*zeltools::makeOffscreenContext(options)))
        , _programs(std::make_unique<zeltools::Programs>(options.shaders))
    {
        EXPECT_FALSE(_exhibit->createGLObjects(*_programs, options).has_value());
        _target = std::move(*zeltools::makeTarget(size, GL_RGBA8, zeltools::RenderTarget::eDepth));
        _exhibit->frame(size);
    }

    ~ShownModel()
    {
        _exhibit->releaseGLObjects();
        _target.reset();
        _programs.reset();
        _exhibit.reset();
        Orvane::Zel::InstanceDataRegistry::Instance()->clear(); // the next model has plans of the same names
    }

    zeltools::Exhibit *operator->() { return _exhibit.get(); }

    zeltools::Programs &programs() { return *_programs; }

    QImage picture()
    {
        EXPECT_FALSE(_exhibit->prepareFrame(_size).has_value());
        const Orvane::Zel::AutoBinder bound(_target->framebuffer());
        glViewport(0, 0, _size.width(), _size.height());
        glClear(GL_DEPTH_BUFFER_BIT);
        _exhibit->draw(_size);
        QImage image(_size, QImage::Format_RGBX8888);
        glReadPixels(0, 0, _size.width(), _size.height(), GL_RGBA, GL_UNSIGNED_BYTE, image.bits());
        return image;
    }

    QImage pictureAfter(int key)
    {
        EXPECT_TRUE(_exhibit->key(key));
        return picture();
    }

    /// The line about the last frame that starts with this word.
    QString report(const char *word) const
    {
        return _exhibit->describeFrame().filter(QRegularExpression(QString("^") + word)).join('\n');
    }

private:
    QSize _size;
    std::unique_ptr<zeltools::Exhibit> _exhibit;
    std::unique_ptr<Orvane::ZelKit::HeadlessContext> _context;
    std::unique_ptr<zeltools::Programs> _programs;
    std::unique_ptr<zeltools::RenderTarget> _target;
};
