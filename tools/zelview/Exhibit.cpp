#include "Exhibit.h"

#include "ImageExhibit.h"
#include "ImageFile.h"
#include "ModelExhibit.h"
#include "Options.h"

namespace zelview {

Expected<std::unique_ptr<Exhibit>> Exhibit::load(const Options &options)
{
    const bool isImage = !options.isUdim && options.stressBodies == 0 && isImageFile(options.file);
    return isImage ? ImageExhibit::load(options) : ModelExhibit::load(options);
}

Exhibit::~Exhibit() = default;

} // namespace zelview
