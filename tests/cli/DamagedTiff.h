// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <boost/filesystem/path.hpp>
#include <string>

namespace velmo::test {

/// Files of planes of 30 x 20 pixels of 8 bits, all but the first one with damage.
///
/// A file of `nbPages` directories, all of which lie before the pixels: where it is cut, it loses pixels and
/// no directory. The values of a page are its number, from 'a' on, in each channel.
void writePixelsLast(boost::filesystem::path const& path, unsigned int nbPages, unsigned int nbChannels);

/// The file of two pages with `nbChannels`, of which the second has half of its pixels.
void writeCutPixels(boost::filesystem::path const& path, unsigned int nbChannels);
/// Two directories, the second of which has no sizes.
void writeBrokenChain(boost::filesystem::path const& path);
/// Three directories, each behind its pixels, without the end of the last one.
void writeCutChain(boost::filesystem::path const& path);
/// Two directories, the second of which has the first one behind it.
void writeChainInACircle(boost::filesystem::path const& path);
/// An ImageJ stack of one directory that announces five planes and holds three.
void writeShortStack(boost::filesystem::path const& path);
/// Two directories, the second of which has no SamplesPerPixel.
void writeWithoutSamples(boost::filesystem::path const& path);
/// A directory of compressed pixels that announces two planes.
void writeCompressedStack(boost::filesystem::path const& path);

} // namespace velmo::test
