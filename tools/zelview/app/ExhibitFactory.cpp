#include "app/ExhibitFactory.h"

#include "frame/Options.h"
#include "image/ImageExhibit.h"
#include "image/ImageFile.h"
#include "model/ModelExhibit.h"

namespace zelview {

Expected<std::unique_ptr<Exhibit>> loadExhibit(const Options &options)
{
    const bool isImage = !options.isUdim && options.stressBodies == 0 && isImageFile(options.file);
    return isImage ? ImageExhibit::load(options) : ModelExhibit::load(options);
}

} // namespace zelview
