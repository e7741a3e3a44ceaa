#include "image/EnvironmentFile.h"

#include "file/InputFile.h"
#include "image/ExrFile.h"
#include "image/ImageFile.h"
#include "image/TextureFacts.h"

#include <ZelGL/ZelGL.h>

#include <memory>

using namespace Orvane::Zel;

namespace zeltools {

namespace {

Problem inputProblem(const QString &path, const QString &text)
{
    return {ExitCode::eInput, QStringLiteral("'%1' %2").arg(path, text)};
}

/// A size that suggests no layout: the remedy is an option.
Failure checkLayout(const QString &path, const QSize &size, std::optional<EnvironmentLayout> layout)
{
    if (layout || EnvironmentImage::layoutOf(size)) {
        return {};
    }
    return inputProblem(
        path, QStringLiteral("is not an environment image: %1x%2 is neither 2:1 (latlong), 4:3 or 3:4 "
                             "(cross) nor 6:1 (strip); --env-layout latlong forces it")
                  .arg(size.width())
                  .arg(size.height()));
}

/// Loads a file with the library's readers.
Expected<EnvironmentImage> readByLibrary(const QString &path, std::optional<EnvironmentLayout> layout)
{
    QString error;
    const std::unique_ptr<Texture> texture = loadImage(path, error);
    if (texture == nullptr) {
        return inputProblem(path, QStringLiteral("cannot be read: ") + error);
    }
    const TextureFacts facts = TextureFacts::of(*texture);
    const bool isPlain = facts.target == GL_TEXTURE_2D;
    if (isPlain && facts.kind != TextureFacts::eInteger) {
        if (const Failure failure = checkLayout(path, facts.size, layout)) {
            return *failure;
        }
    }
    std::optional<EnvironmentImage> image =
        EnvironmentImage::fromTexture(*texture, EnvironmentImage::isFirstRowLowest(path), layout, &error);
    return image ? Expected<EnvironmentImage>(std::move(*image))
                 : inputProblem(path, QStringLiteral("cannot be used: %1 (%2)").arg(error, facts.toString()));
}

Expected<EnvironmentImage> readByOpenExr(const QString &path, std::optional<EnvironmentLayout> layout)
{
    Expected<LightImage> light = readExr(path);
    if (!light) {
        return light.problem();
    }
    if (const Failure failure = checkLayout(path, light->size, layout)) {
        return *failure;
    }
    QString error;
    std::optional<EnvironmentImage> image = EnvironmentImage::prepared(std::move(*light), layout, &error);
    return image ? Expected<EnvironmentImage>(std::move(*image))
                 : inputProblem(path, QStringLiteral("cannot be used: ") + error);
}

} // namespace

Expected<EnvironmentImage> loadEnvironmentImage(const QString &path, std::optional<EnvironmentLayout> layout)
{
    if (const Failure failure = checkInputFile(path)) {
        return *failure;
    }
    return isExrFile(path) ? readByOpenExr(path, layout) : readByLibrary(path, layout);
}

} // namespace zeltools
