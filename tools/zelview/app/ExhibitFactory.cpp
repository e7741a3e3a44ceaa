#include "app/ExhibitFactory.h"

#include "app/ImageExhibit.h"
#include "frame/Options.h"
#include "image/ExrFile.h"
#include "image/ImageFile.h"
#include "model/ModelExhibit.h"

namespace zeltools {

Expected<std::unique_ptr<Exhibit>> loadExhibit(const Options &options)
{
    if (!options.isUdim && isExrFile(options.file)) {
        return Problem{ExitCode::eInput,
                       QStringLiteral("'%1' is an OpenEXR image, which only --env reads").arg(options.file)};
    }
    const bool isImage = !options.isUdim && isImageFile(options.file);
    return isImage ? ImageExhibit::load(options) : ModelExhibit::load(options);
}

} // namespace zeltools
