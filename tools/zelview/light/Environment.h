#pragma once

#include "file/Outcome.h"
#include "frame/Options.h"
#include "frame/Programs.h"
#include "image/EnvironmentFile.h"

#include <ZelKit/EnvironmentLight.h>

#include <QtCore/QString>
#include <QtGui/QMatrix4x4>

#include <memory>
#include <optional>

namespace Orvane { namespace Zel {
class GLSLMacroProcessor;
class Texture;
}} // namespace Orvane::Zel

namespace zeltools {

/// An environment map from an image file: the background, and the maps baked from it that shading reads through
/// KitEnvironment.glslh. Its strongest light can be removed from the baked maps, to become a light that casts shadows; the
/// background keeps it.
///
/// Units:   radiance as in the file; angles in degrees, around the vertical axis.
/// Context: create, use and delete with the same context current.
/// Errors:  ExitCode::eFile and eInput for the image, ExitCode::eGL for shaders that the driver rejects.
class Environment
{
    Q_DISABLE_COPY(Environment)

public:
    enum Sun { eKeepSun, eTakeSun };

    /// Adds the define for programs that use an environment.
    static void setUp(Orvane::Zel::GLSLMacroProcessor *processor);

    /// Reads and bakes the image, and prints the progress on stderr. Without a \a layout the aspect ratio decides.
    static Expected<std::unique_ptr<Environment>> create(Programs &programs, const QString &path,
                                                         std::optional<EnvironmentLayout> layout, Sun sun);
    ~Environment();

    /// Rotates the environment around the vertical axis, in the direction of a growing azimuth of the view. Initially 0.
    void setRotation(float rotation);
    /// The light that was removed, with its direction in the world; empty if there was none.
    std::optional<DistantLight> sun() const;

    /// Fills the bound framebuffer with the environment that a camera sees. Neither tests nor writes depth.
    /// \a blur: from 0, as sharp as the image, to 1. \a exposure: a power of two.
    void drawBackground(const QMatrix4x4 &view, const QMatrix4x4 &projection, float blur, float exposure);

    /// Sets the uniforms and textures of KitEnvironment.glslh in the bound program, until unbind().
    void bind(Orvane::Zel::ShaderProgram *program);
    void unbind();

    /// A line for the report.
    QString describe() const;

private:
    Environment();

    Failure bake(EnvironmentImage image, Sun sun);

    QString _facts;
    std::optional<DistantLight> _sun; ///< with its direction in the image
    ProgramPointer _background;
    std::unique_ptr<Orvane::Zel::Texture> _sharp; ///< cube map, including the sun
    std::unique_ptr<Orvane::ZelKit::EnvironmentLight> _light;
};

} // namespace zeltools
