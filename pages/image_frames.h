// Property pages of the image action and the lossless JPEG transform.
#pragma once

#include "package/registration.h"

namespace brivant::pages {

const TBVDesignClass& TImagesFilesFrame();
const TBVDesignClass& TImagesOutputFrame();
const TBVDesignClass& TImagesRotateFrame();
const TBVDesignClass& TImagesResizeFrame();
const TBVDesignClass& TJPEGLosslessTransformFilesFrame();
const TBVDesignClass& TJPEGLosslessTransformFrame();

}  // namespace brivant::pages
