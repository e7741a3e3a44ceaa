#pragma once

#include "KitExport.h"

#include <QtCore/QString>
#include <QtGui/QMatrix4x4>

#include <memory>

namespace Orvane {

namespace Zel {
class GLSLMacroProcessor;
class ShaderProgram;
class Texture;
} // namespace Zel

namespace ZelKit {

class OwnContext;

/// The light of an environment, baked for shading: EnvironmentBake makes it, or load().
///
/// Programs include "KitEnvironment.glslh", whose functions return the light that a surface mirrors and scatters.
///
/// - Units: radiance in the units of the image.
/// - Context: create, use and delete with the same context current.
/// - Errors: a function that can fail explains why in its last argument, or logs it.
///
/// \snippet kit.cpp EnvironmentLight
class ZELKIT_EXPORT EnvironmentLight
{
    Q_DISABLE_COPY(EnvironmentLight)

public:
    /// Adds the include path of "KitEnvironment.glslh".
    static void setUp(Zel::GLSLMacroProcessor *processor);

    /// Reads the file of save(); null if it is not one or damaged.
    static std::unique_ptr<EnvironmentLight> load(const QString &path, QString *error = nullptr);
    /// Writes the textures, all half floats; load() returns the same texels. An existing file is replaced as a whole.
    bool save(const QString &path, QString *error = nullptr);

    ~EnvironmentLight();

    /// The rotation from the world to the image; initially none.
    void setRotation(const QMatrix4x4 &toImage) { _toImage = toImage; }
    const QMatrix4x4 &rotation() const { return _toImage; }

    /// Sets the textures and uniforms of a program that is bound, until unbind(). Enable GL_TEXTURE_CUBE_MAP_SEAMLESS for its
    /// draws. False, with a warning, for null, if the context of the light is not current, or if no texture unit is free.
    bool bind(Zel::ShaderProgram *program);
    void unbind();

    Zel::Texture *reflections() { return _reflections.get(); } ///< cube map; levels of roughness 0 to 1
    Zel::Texture *diffuse() { return _diffuse.get(); }         ///< cube map
    Zel::Texture *table() { return _table.get(); }             ///< of the BRDF
    /// Number of levels of reflections().
    int levels() const { return _levels; }

private:
    friend class EnvironmentBake;

    ZELKIT_NO_EXPORT EnvironmentLight();

    std::unique_ptr<OwnContext> _context;
    std::unique_ptr<Zel::Texture> _reflections;
    std::unique_ptr<Zel::Texture> _diffuse;
    std::unique_ptr<Zel::Texture> _table;
    int _levels = 0;
    QMatrix4x4 _toImage;
};

} // namespace ZelKit
} // namespace Orvane
