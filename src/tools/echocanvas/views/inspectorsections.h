#ifndef MORVEK_ECHOCANVAS_INSPECTORSECTIONS_H
#define MORVEK_ECHOCANVAS_INSPECTORSECTIONS_H

#include "inspectorsection.h"

namespace Morvek::Tools {

class CropEditor;

/** Name, place and size. */
InspectorSection *makeGeometrySection();
/** Input and crop. @param pCropEditor  becomes a child of the section */
InspectorSection *makeSourceSection(CropEditor *pCropEditor);
/** Mirroring, colours, opacity, frozen mark. */
InspectorSection *makeLookSection();
InspectorSection *makeBorderSection();
InspectorSection *makeMaskSection();
InspectorSection *makeAlphaMapSection();

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_INSPECTORSECTIONS_H
