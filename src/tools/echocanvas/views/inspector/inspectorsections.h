#ifndef MORVEK_ECHOCANVAS_INSPECTORSECTIONS_H
#define MORVEK_ECHOCANVAS_INSPECTORSECTIONS_H

#include "inspectorsection.h"

namespace Morvek::Tools {

class CropEditor;

/** Name, place and size. */
InspectorSection *makeGeometrySection();
/**
 * Input and crop.
 *
 * @param pCropEditor  becomes a child of the section
 * @param inputCount   tells how many inputs a layer of the scene may show
 */
InspectorSection *makeSourceSection(CropEditor *pCropEditor,
                                    const std::function<int()> &inputCount);
/** Mirroring, colours, opacity, frozen mark. */
InspectorSection *makeLookSection();
InspectorSection *makeBorderSection();
InspectorSection *makeMaskSection();
InspectorSection *makeAlphaMapSection();

/** Has the layer show an input, from 0, in the place of what it showed. */
void showInput(sSceneLayer &layer, int nInput);

} // namespace Morvek::Tools

#endif // MORVEK_ECHOCANVAS_INSPECTORSECTIONS_H
