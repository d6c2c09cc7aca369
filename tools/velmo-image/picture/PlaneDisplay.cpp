// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "picture/PlaneDisplay.h"

#include "picture/Digits.h"
#include "picture/GreyLevels.h"
#include "picture/PlaneReducer.h"
#include "terminal/Failure.h"

#include <VELMOBase/AvailableMemory.h>
#include <utility>

namespace velmo::tool {

namespace {

using namespace image;

Picture createPicture(PictureLayout const& layout, PlaneRun const& run) {
    constexpr vlUInt64 bytesOfLevels = 4;             // three colours, and their encoding
    vlUInt64 const nbValues = run.projection ? 3 : 1; // one plane, the result, and the number of values in it
    vlUInt64 const nbBytes = layout.getWidth() * layout.getHeight() * run.channels.size() *
                             (nbValues * sizeof(double) + bytesOfLevels);
    vlUInt64 const nbAvailable = getAvailableMemory();
    if (nbBytes > nbAvailable) {
        throw WorkFailure("not enough memory: the picture needs " + std::to_string(nbBytes) + " bytes, " +
                          std::to_string(nbAvailable) + " are available; use a smaller --max-size");
    }
    return Picture(layout.getWidth(), layout.getHeight(), run.channels.size());
}

PictureCell getCell(PlaneDisplay const& display, PictureLayout const& layout, vlUInt64 index) {
    return {index % layout.columns * layout.cellWidth,
            index / layout.columns * layout.cellHeight,
            layout.cellWidth,
            layout.cellHeight,
            0,
            display.orientation,
            display.bNames};
}

void putChannels(BaseImage const& image, PlaneRun const& run, vlUInt64 index, PictureCell cell,
                 Picture& picture) {
    for (vlUInt64 const c : run.channels) {
        putPlane(image, {run.firstZ + index * run.step, c, run.t}, cell, picture);
        ++cell.channel;
    }
}

Picture project(BaseImage const& image, PlaneDisplay const& display, PlaneRun const& run,
                PictureLayout const& layout) {
    PictureCell const cell = getCell(display, layout, 0);
    Picture first = createPicture(layout, run);
    putChannels(image, run, 0, cell, first);
    ZProjection projection(*run.projection, std::move(first));
    for (vlUInt64 index = 1; index < run.nbZ; ++index) {
        Picture plane = createPicture(layout, run);
        putChannels(image, run, index, cell, plane);
        projection.add(plane);
    }
    return projection.take();
}

std::vector<unsigned char> toPixels(Picture const& picture, PlaneDisplay const& display,
                                    ValueRange const& range, bool bMinIsBlack) {
    switch (display.colouring) {
    case eColouring::Labels:
        return toLabelColours(picture.values);
    case eColouring::Palette:
        return toPaletteColours(picture.values, display.palette);
    case eColouring::Levels:
        break;
    }
    return toGreyLevels(picture.values, range, bMinIsBlack);
}

} // namespace

PictureLayout layOutRun(BaseImageGeometry const& geometry, PlaneDisplay const& display, PlaneRun const& run,
                        vlUInt64 nbColumns, vlUInt64 maxSize) {
    bool const bSwap = display.orientation.swapsAxes();
    return layOut(bSwap ? geometry.getSizeY() : geometry.getSizeX(),
                  bSwap ? geometry.getSizeX() : geometry.getSizeY(), run.countCells(), nbColumns, maxSize);
}

Picture composePicture(BaseImage const& image, PlaneDisplay const& display, PlaneRun const& run,
                       PictureLayout const& layout) {
    if (run.projection) {
        return project(image, display, run, layout);
    }
    Picture picture = createPicture(layout, run);
    for (vlUInt64 index = 0; index < run.nbZ; ++index) {
        putChannels(image, run, index, getCell(display, layout, index), picture);
    }
    return picture;
}

Bitmap toBitmap(Picture const& picture, PlaneDisplay const& display, ValueRange const& range,
                bool bMinIsBlack) {
    return {picture.width, picture.height,
            display.colouring == eColouring::Levels ? picture.nbChannels : vlUInt64{3},
            toPixels(picture, display, range, bMinIsBlack)};
}

void numberCells(PlaneRun const& run, PictureLayout const& layout, Bitmap& bitmap) {
    for (vlUInt64 index = 0; index < run.nbZ; ++index) {
        drawNumber(run.firstZ + index * run.step,
                   {index % layout.columns * layout.cellWidth, index / layout.columns * layout.cellHeight,
                    layout.cellWidth, layout.cellHeight},
                   bitmap);
    }
}

} // namespace velmo::tool
