#pragma once

#include "frame/Exhibit.h"
#include "frame/Programs.h"
#include "image/TextureFacts.h"

#include <memory>

namespace Orvane { namespace Zel {
class Texture;
}} // namespace Orvane::Zel

namespace zeltools {

/// Shows an image upright; cube maps as a strip of faces, volumes as a grid of slices. Dragging moves it. Keys: Left and
/// Right choose the level; 1 to 6 a face or slice, 0 all of them; Up and Down the exposure.
class ImageExhibit : public Exhibit
{
public:
    /// Reads only the first bytes of the file: loading a texture needs a context.
    static Expected<std::unique_ptr<Exhibit>> load(const Options &options);
    ~ImageExhibit() override;

    QStringList describe() const override;
    QStringList files() const override { return {_path}; }
    Failure createGLObjects(Programs &programs, const Options &options) override;
    void releaseGLObjects() override;
    void frame(const QSize &viewport) override;
    void draw(const QSize &viewport) override;
    QStringList describeFrame() const override;
    bool isDithered() const override;
    void drag(DragKind kind, const QVector2D &way) override;
    void zoom(float steps) override;
    bool key(int key) override;

private:
    explicit ImageExhibit(const Options &options);

    Failure loadTexture();
    Failure checkChoice() const;
    void setSampling();
    /// Number of faces or slices at the current level.
    int panelsOfLevel() const;
    int panelsShown() const;
    QSize grid() const;

    QString _path;
    int _level;
    int _panel; ///< -1: all
    float _exposure;

    ProgramPointer _program;
    std::unique_ptr<Orvane::Zel::Texture> _texture;
    TextureFacts _facts;
    QStringList _metadataKeys;
    double _loadTime = 0.0; ///< milliseconds
    bool _rowsGoUp = false;

    float _zoom = 1.0f;
    QVector2D _shift; ///< of the centre of the image, in heights of the viewport
};

} // namespace zeltools
