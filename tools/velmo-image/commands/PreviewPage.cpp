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

    void findRanges(PagePlan const& plan);
    /// The bytes of the page; stops to count behind `maxBytes`. Keeps the encoded pictures in memory as far
    /// as they fit into 64 MiB.
    vlUInt64 countBytes(PagePlan const& plan, vlUInt64 maxBytes);
    void write(PagePlan const& plan, HtmlPage::Write const& write);

  private:
    using Bytes = std::vector<unsigned char>;

    HtmlPage begin(PagePlan const& plan, HtmlPage::Write const& write) const;
    Bytes encode(PagePlan const& plan, vlUInt64 number);

    PagePictures& _pictures;
    InputImage const& _input;
    BaseImageGeometry const& _geometry;
    std::string const _title;
    ContrastChoice const _contrast;
    std::vector<PageRange> _ranges; ///< of each group of channels
    std::vector<Bytes> _encoded;    ///< the first pictures of the page, as far as they are kept
};

void PageComposer::findRanges(PagePlan const& plan) {
    _ranges.clear();
    if (_pictures.getDisplay().colouring != eColouring::Levels) {
        return;
    }
    PictureLayout const layout = _pictures.getLayout(plan.getRun({0, 0, 0}));
    vlUInt64 const nbPixels = layout.getWidth() * layout.getHeight();
    vlUInt64 const nbValues = nbPixels * plan.getChannels().front().size() * plan.countPictures();
    std::vector<ValueSample> samples(plan.getChannels().size(), ValueSample(nbValues)); // of all together
    for (vlUInt64 number = 0; number < plan.countPictures(); ++number) {
        PagePlace const place = plan.getPlace(number);
        samples[place.c].add(_pictures.compose(plan.getRun(place))->values);
    }
    for (ValueSample& sample : samples) {
        _ranges.push_back(choosePageRange(_geometry, _contrast, sample));
    }
}

/// Levels are values; the page turns them if the minimum is white.
PageComposer::Bytes PageComposer::encode(PagePlan const& plan, vlUInt64 number) {
    PagePlace const place = plan.getPlace(number);
    ValueRange const levels = _ranges.empty() ? ValueRange{0, 0} : _ranges[place.c].levels;
    return encodePng(toBitmap(*_pictures.compose(plan.getRun(place)), _pictures.getDisplay(), levels, true));
}

HtmlPage PageComposer::begin(PagePlan const& plan, HtmlPage::Write const& write) const {
    return HtmlPage(
        describePage({_title, getFormatName(_input.format), *_input.pImage, plan, _pictures.getDisplay(),
                      _pictures.getLayout(plan.getRun({0, 0, 0})), _ranges}),
        write);
}

vlUInt64 PageComposer::countBytes(PagePlan const& plan, vlUInt64 maxBytes) {
    constexpr vlUInt64 mostKeptBytes = vlUInt64{64} << 20;
    vlUInt64 nbBytes = 0;
    _encoded.clear();
    auto const count = [&](std::string const& part) { nbBytes += part.size(); };
    HtmlPage page = begin(plan, count);
    page.end();
    for (vlUInt64 number = 0; number < plan.countPictures() && nbBytes <= maxBytes; ++number) {
        Bytes png = encode(plan, number);
        nbBytes += HtmlPage::countBytes(png.size());
        if (nbBytes <= mostKeptBytes) {
            png.shrink_to_fit(); // the memory is as large as a picture that is not compressed
            _encoded.push_back(std::move(png));
        }
    }
    return nbBytes;
}

void PageComposer::write(PagePlan const& plan, HtmlPage::Write const& write) {
    HtmlPage page = begin(plan, write);
    for (vlUInt64 number = 0; number < plan.countPictures(); ++number) {
        page.addPicture(number < _encoded.size() ? _encoded[number] : encode(plan, number));
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

/// What the passes of a page have in common.
struct PageJob {
    InputImage const& input;
    PlaneDisplay const& display;
    PreviewChoice const& choice;
    PageOutput const& output;
};

/// Pixels that are read for some of the pictures.
vlUInt64 countPixels(PageJob const& job, PagePlan const& plan, vlUInt64 nbPictures) {
    PlaneRun const run = plan.getRun({0, 0, 0});
    return nbPictures * run.nbZ * run.channels.size() * job.input.pImage->getGeometry().getPlanNbPixels();
}

/// Bytes of a picture in its own contrast.
vlUInt64 countPictureBytes(PageJob const& job, Picture const& picture) {
    ValueSample sample(picture.values.size());
    sample.add(picture.values);
    ValueRange const levels =
        choosePageRange(job.input.pImage->getGeometry(), job.choice.contrast, sample).levels;
    return HtmlPage::countBytes(encodePng(toBitmap(picture, job.display, levels, true)).size());
}

/// Leaves out planes until the pictures probably fit: some of them are encoded.
void estimate(PageJob const& job, PagePlan& plan) {
    vlUInt64 const nbPictures = plan.countPictures();
    if (nbPictures <= g_nbEstimated) {
        return;
    }
    Progress progress(countPixels(job, plan, g_nbEstimated), job.output.bQuiet);
    DiskImagePtr const pImage = observe(toSource(job.input), progress);
    PagePictures pictures(*pImage, job.display, job.choice.maxSize);
    double nbBytes = 0;
    for (vlUInt64 index = 0; index < g_nbEstimated; ++index) {
        PlaneRun const run = plan.getRun(plan.getPlace(nbPictures / g_nbEstimated * index));
        nbBytes += static_cast<double>(countPictureBytes(job, *pictures.compose(run)));
    }
    double const nbEach = nbBytes / static_cast<double>(g_nbEstimated);
    auto const maxBytes = static_cast<double>(job.output.maxBytes);
    while (nbEach * static_cast<double>(plan.countPictures()) > maxBytes && plan.thin()) {
    }
}

void composePage(PageJob const& job, PagePlan& plan) {
    constexpr vlUInt64 nbPasses = 2;
    Progress progress(countPixels(job, plan, nbPasses * plan.countPictures()), job.output.bQuiet);
    DiskImagePtr const pImage = observe(toSource(job.input), progress);
    PagePictures pictures(*pImage, job.display, job.choice.maxSize);
    std::string const title = boost::filesystem::path(job.output.inputFile).filename().string();
    PageComposer composer(pictures, job.input, title, job.choice.contrast);
    fitPage(composer, plan, job.output);
    writeOutput(job.output.outputFile, job.output.bOverwrite, [&](boost::filesystem::path const& path) {
        SequentialFile target(path);
        composer.write(plan, [&](std::string const& part) { target.write(part); });
        target.close();
    });
}

} // namespace

void writePreviewPage(InputImage const& input, PreviewChoice const& choice, PageOutput const& output) {
    PagePlan plan(input.pImage->getGeometry(), choice);
    PlaneDisplay const display = chooseDisplay(input, plan.getRun({0, 0, 0}), choice.contrast);
    PageJob const job = {input, display, choice, output};
    estimate(job, plan);
    composePage(job, plan);
    if (plan.isThinned()) {
        printMessage("warning: " + quoted(output.outputFile) + ' ' + describeThinning(plan) +
                     ": more would make it larger than --max-bytes " + std::to_string(output.maxBytes));
    }
}

} // namespace velmo::tool
