// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/PreviewPage.h"

#include "commands/PageDescription.h"
#include "commands/PagePictures.h"
#include "output/OutputFile.h"
#include "output/SequentialFile.h"
#include "picture/PngFile.h"
#include "terminal/Progress.h"
#include "terminal/Terminal.h"

#include <VELMOImage/ImageGeometry.h>

namespace velmo::tool {

namespace {

using namespace image;

/// Pictures that are encoded to estimate the size of all.
constexpr vlUInt64 g_nbEstimated = 16;

/// The passes over the pictures of a page.
class PageComposer {
  public:
    /// The pictures and the input must outlive the object.
    PageComposer(PagePictures& pictures, InputImage const& input, std::string const& title,
                 ContrastChoice const& contrast)
        : _pictures(pictures), _input(input), _geometry(input.pImage->getGeometry()), _title(title),
          _contrast(contrast) {}

    /// Leaves out planes until the pictures probably have at most `maxBytes` bytes: some of them are encoded.
    void estimate(PagePlan& plan, vlUInt64 maxBytes);
    void findRanges(PagePlan const& plan);
    /// The bytes of the page; stops to count behind `maxBytes`.
    vlUInt64 countBytes(PagePlan const& plan, vlUInt64 maxBytes);
    void write(PagePlan const& plan, HtmlPage::Write const& write);

  private:
    HtmlPage begin(PagePlan const& plan, HtmlPage::Write const& write) const;
    Bitmap draw(PagePlan const& plan, vlUInt64 number);

    PagePictures& _pictures;
    InputImage const& _input;
    BaseImageGeometry const& _geometry;
    std::string const _title;
    ContrastChoice const _contrast;
    std::vector<PageRange> _ranges; ///< of each group of channels
};

void PageComposer::estimate(PagePlan& plan, vlUInt64 maxBytes) {
    vlUInt64 const nbPictures = plan.countPictures();
    if (nbPictures <= g_nbEstimated) {
        return;
    }
    double nbBytes = 0;
    for (vlUInt64 index = 0; index < g_nbEstimated; ++index) {
        Picture const picture =
            _pictures.compose(plan.getRun(plan.getPlace(nbPictures / g_nbEstimated * index)));
        ValueSample sample(picture.values.size());
        sample.add(picture.values);
        ValueRange const levels = choosePageRange(_geometry, _contrast, sample).levels;
        nbBytes += static_cast<double>(
            HtmlPage::countBytes(encodePng(toBitmap(picture, _pictures.getDisplay(), levels, true)).size()));
    }
    double const nbEach = nbBytes / static_cast<double>(g_nbEstimated);
    while (nbEach * static_cast<double>(plan.countPictures()) > static_cast<double>(maxBytes) &&
           plan.thin()) {
    }
}

void PageComposer::findRanges(PagePlan const& plan) {
    _ranges.clear();
    if (_pictures.getDisplay().colouring != eColouring::Levels) {
        return;
    }
    PictureLayout const layout = _pictures.getLayout(plan.getRun({0, 0, 0}));
    vlUInt64 const nbPixels = layout.getWidth() * layout.getHeight();
    std::vector<ValueSample> samples;
    for (auto const& channels : plan.getChannels()) {
        samples.emplace_back(nbPixels * channels.size() * plan.getZ().count * plan.getT().count);
    }
    for (vlUInt64 number = 0; number < plan.countPictures(); ++number) {
        PagePlace const place = plan.getPlace(number);
        samples[place.c].add(_pictures.compose(plan.getRun(place)).values);
    }
    for (ValueSample& sample : samples) {
        _ranges.push_back(choosePageRange(_geometry, _contrast, sample));
    }
}

/// Levels are values; the page turns them if the minimum is white.
Bitmap PageComposer::draw(PagePlan const& plan, vlUInt64 number) {
    PagePlace const place = plan.getPlace(number);
    ValueRange const levels = _ranges.empty() ? ValueRange{0, 0} : _ranges[place.c].levels;
    return toBitmap(_pictures.compose(plan.getRun(place)), _pictures.getDisplay(), levels, true);
}

HtmlPage PageComposer::begin(PagePlan const& plan, HtmlPage::Write const& write) const {
    return HtmlPage(
        describePage({_title, getFormatName(_input.format), *_input.pImage, plan, _pictures.getDisplay(),
                      _pictures.getLayout(plan.getRun({0, 0, 0})), _ranges}),
        write);
}

vlUInt64 PageComposer::countBytes(PagePlan const& plan, vlUInt64 maxBytes) {
    vlUInt64 nbBytes = 0;
    auto const count = [&](std::string const& part) { nbBytes += part.size(); };
    HtmlPage page = begin(plan, count);
    page.end();
    for (vlUInt64 number = 0; number < plan.countPictures() && nbBytes <= maxBytes; ++number) {
        nbBytes += HtmlPage::countBytes(encodePng(draw(plan, number)).size());
    }
    return nbBytes;
}

void PageComposer::write(PagePlan const& plan, HtmlPage::Write const& write) {
    HtmlPage page = begin(plan, write);
    for (vlUInt64 number = 0; number < plan.countPictures(); ++number) {
        page.addPicture(draw(plan, number));
    }
    page.end();
}

/// Leaves out planes until the page fits.
void fitPage(PageComposer& composer, PagePlan& plan, PageOutput const& output) {
    composer.findRanges(plan);
    while (composer.countBytes(plan, output.maxBytes) > output.maxBytes) {
        if (!plan.thin()) {
            throw WorkFailure(quoted(output.outputFile) + " would be larger than --max-bytes " +
                              std::to_string(output.maxBytes) +
                              " with a single plane; use a smaller --max-size, or a greater --max-bytes");
        }
        composer.findRanges(plan);
    }
}

/// Composes the page from `image` and writes it. Returns what is left out.
std::string composePage(BaseImage const& image, PlaneDisplay const& display, InputImage const& input,
                        PreviewChoice const& choice, PageOutput const& output, PagePlan& plan) {
    PagePictures pictures(image, display, choice.maxSize);
    PageComposer composer(pictures, input, boost::filesystem::path(output.inputFile).filename().string(),
                          choice.contrast);
    composer.estimate(plan, output.maxBytes);
    fitPage(composer, plan, output);
    writeOutput(output.outputFile, output.bOverwrite, [&](boost::filesystem::path const& path) {
        SequentialFile target(path);
        composer.write(plan, [&](std::string const& part) { target.write(part); });
        target.close();
    });
    return describeThinning(plan);
}

} // namespace

void writePreviewPage(InputImage const& input, PreviewChoice const& choice, PageOutput const& output) {
    BaseImageGeometry const& geometry = input.pImage->getGeometry();
    PagePlan plan(geometry, choice);
    PlaneRun const firstRun = plan.getRun({0, 0, 0});
    PlaneDisplay const display = chooseDisplay(input, firstRun, choice.contrast);
    std::string leftOut;
    {
        vlUInt64 const nbPlanes = plan.countPictures() * firstRun.nbZ * firstRun.channels.size();
        Progress progress(nbPlanes * geometry.getPlanNbPixels(), output.bQuiet);
        leftOut = composePage(*observe(toSource(input), progress), display, input, choice, output, plan);
    }
    if (!leftOut.empty()) {
        printMessage("warning: " + quoted(output.outputFile) + ' ' + leftOut +
                     ": more would make it larger than --max-bytes " + std::to_string(output.maxBytes));
    }
}

} // namespace velmo::tool
