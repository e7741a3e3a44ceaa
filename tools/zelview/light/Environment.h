#pragma once

#include "frame/Outcome.h"
#include "frame/Programs.h"
#include "light/DistantLight.h"
#include "light/EnvironmentImage.h"

#include <QtCore/QString>
#include <QtGui/QMatrix4x4>

#include <memory>
#include <optional>

namespace Orvane { namespace Zel {
class GLSLMacroProcessor;
class Texture;
}} // namespace Orvane::Zel

namespace zelview {

/// Light from all around out of an image file: as a background, and baked for the shading of surfaces, which reads it
/// by Environment.glslh. Its strongest light can be taken out of the bakes, to shine and cast shadows as a light of its
/// own; the background keeps it.
///
/// Units:   radiance as in the file; angles in degrees, around the vertical axis.
/// Context: create, use and delete with one and the same context current.
/// Errors:  ExitCode::eFile and eInput for the image, ExitCode::eGL for shaders that the driver refuses.
class Environment
{
    Q_DISABLE_COPY(Environment)

public:
    enum Sun { eKeepSun, eTakeSun };

    /// The define for programs whose light is an environment's.
    static void setUp(Orvane::Zel::GLSLMacroProcessor *processor);

    /// Reads and bakes, and tells on stderr how far it is. Without a \a layout the image's ratio decides.
    static Expected<std::unique_ptr<Environment>> create(Programs &programs, const QString &path,
                                                         std::optional<EnvironmentLayout> layout, Sun sun);
    ~Environment();

    /// Turned about the vertical, in the sense in which the azimuth of a view grows; 0 at first.
    void setRotation(float rotation);
    /// The light that was taken, as it stands in the world; none where none stands out.
    std::optional<DistantLight> sun() const;

    /// Fills the bound framebuffer with what a camera sees; depth is neither tested nor written.
    /// \a blur is from 0, as sharp as the image, to 1; \a exposure in powers of two.
    void drawBackground(const QMatrix4x4 &view, const QMatrix4x4 &projection, float blur, float exposure);

    /// Sets what Environment.glslh declares, in a program that is bound, until unbind().
    void bind(Orvane::Zel::ShaderProgram *program);
    void unbind();

    /// In words, for the report.
    QString describe() const;

private:
    using TexturePointer = std::unique_ptr<Orvane::Zel::Texture>;

    Environment();

    Failure bake(EnvironmentImage image, Sun sun);

    QString _facts;
    std::optional<DistantLight> _sun; ///< as in the image
    QMatrix4x4 _turn;                 ///< from the world into the image
    ProgramPointer _background;
    TexturePointer _sharp;    ///< cube map, with the sun
    TexturePointer _specular; ///< cube map by roughness, from 0 to that of the last level
    int _levels = 0;          ///< of it
    TexturePointer _diffuse;  ///< cube map
    TexturePointer _brdf;
};

} // namespace zelview
