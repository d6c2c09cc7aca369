// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "ThrownText.h"
#include "TiffFilesFixture.h"

#include <VELMOBaseProcessing/VELMOBaseProcessingLog.h>
#include <VELMOImageFile/VELMOImageFileException.h>

namespace velmo::test {

/// A stack of planes of one pixel, whose value is the number of the plane: resampled linearly it shows the
/// steps.
class ZStepsFile : public TiffFiles {
  protected:
    ZStepsFile() { saveStack(3); }

    void saveStack(std::size_t nbPlanes) const {
        for (std::size_t plane = 0; plane < nbPlanes; ++plane) {
            auto const value = static_cast<float>(plane);
            save(numbered(plane), {image::geometry3d(image::eIBT_Real32, 1, 1, 1),
                                   std::string(reinterpret_cast<char const*>(&value), sizeof(value))});
        }
    }

    image::ImagePtr loadWith(boost::filesystem::path const& steps) const {
        return image::file::loadCustomZStackImageFiles(_folder, steps, g_nbPlanes, imaproc::attr::eIP_Linear,
                                                       g_numbered, image::file::eTBM_Default);
    }

    void expectStepsOf(boost::filesystem::path const& path, std::vector<float> const& steps) const {
        image::ImagePtr const pImage = loadWith(path);
        for (vlUInt64 plane = 0; plane < g_nbPlanes; ++plane) {
            float value = -1;
            ASSERT_TRUE(pImage->readPixels(plane, 0, 0, 0, 1, &value));
            EXPECT_NEAR(value, findPlane(steps, plane), 1e-4) << "plane " << plane;
        }
    }
    void expectSteps(std::string const& text, std::vector<float> const& steps) const {
        SCOPED_TRACE(text.substr(0, 100));
        writeSteps(text);
        expectStepsOf(getStepsPath(), steps);
    }

    /// What the processor says of the steps of a text.
    std::string refusedText(std::string const& text) const {
        writeSteps(text);
        return refusedTextOf(getStepsPath());
    }
    std::string refusedTextOf(boost::filesystem::path const& path) const {
        return thrownText<processor::VELMOBaseProcessingException>([&] { loadWith(path); });
    }
    static std::string refusal(std::size_t index, std::string const& value) {
        return "InZSteps holds a step that is not positive and finite: step " + std::to_string(index) +
               " is " + value;
    }

    std::string countedText(std::string const& text) const {
        writeSteps(text);
        return raisedText(getStepsPath());
    }
    std::string raisedText(boost::filesystem::path const& path) const {
        auto const raised = expectRaisedFrom("src/Tiff/TiffCustomZStack.cpp", [&] { loadWith(path); });
        EXPECT_EQ(countOpenFiles(), 0U);
        return raised ? raised->text : std::string();
    }
    static std::string countMismatch(int nbSteps) {
        return "Number of z-steps (" + std::to_string(nbSteps) +
               ") does not match with number of z-plans minus one (3-1)";
    }

    /// A failure of the archive makes one record in all logs, the module's.
    static std::string archiveText(Action const& action) {
        CapturedLog const log(log4cplus::Logger::getRoot());
        std::string text = thrownText<image::file::VELMOImageFileException>(action);
        EXPECT_EQ(log.getRecords().size(), 1U);
        if (log.getRecords().size() == 1) {
            EXPECT_EQ(log.getRecords()[0].logger, image::file::getVELMOImageFileLogger().getName());
            EXPECT_EQ(log.getRecords()[0].message, text);
            EXPECT_EQ(log.getRecords()[0].level, log4cplus::ERROR_LOG_LEVEL);
        }
        return text;
    }

    static std::string fileError(boost::filesystem::path const& path, std::string const& reason) {
        return "Error while loading z-steps file \"" + path.string() + "\": " + reason;
    }

    static constexpr vlUInt64 g_nbPlanes = 17;

  private:
    /// The number of the plane, with what lies between two, at a height of the result.
    static double findPlane(std::vector<float> const& steps, vlUInt64 index) {
        double total = 0;
        for (float const step : steps) {
            total += static_cast<double>(step);
        }
        double height = total * static_cast<double>(index) / static_cast<double>(g_nbPlanes - 1);
        std::size_t plane = 0;
        while (plane + 1 < steps.size() && height >= static_cast<double>(steps[plane])) {
            height -= static_cast<double>(steps[plane++]);
        }
        return static_cast<double>(plane) + height / static_cast<double>(steps[plane]);
    }
};

} // namespace velmo::test
