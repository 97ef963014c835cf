#ifndef MORVEK_ECHOVIDEO_PICTUREUSE_P_H
#define MORVEK_ECHOVIDEO_PICTUREUSE_P_H

namespace Morvek::EchoVideo::Internal {

/** What becomes of a layer's source picture once the preview is drawn. */
enum class ePictureUse {
    Kept, ///< the caller looks at it: it holds the layer's colour effects and its crop
    Once  ///< nobody looks at it: it holds anything
};

} // namespace Morvek::EchoVideo::Internal

#endif // MORVEK_ECHOVIDEO_PICTUREUSE_P_H
