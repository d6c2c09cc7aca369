// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

import ij.ImagePlus;
import ij.ImageStack;
import ij.io.Opener;
import ij.measure.Calibration;
import java.util.Locale;

/**
 * HyperstacksByImageJ FILE...: for each file a line of "stack: ", its numbers of channels, slices and frames, the size of
 * a pixel with its unit, and the first value of each plane in ImageJ's order.
 */
public class HyperstacksByImageJ {
    public static void main(String[] paths) {
        for (String path : paths) {
            ImagePlus image = new Opener().openImage(path);
            Calibration calibration = image.getCalibration();
            StringBuilder line = new StringBuilder(String.format(Locale.ROOT, "stack: C%d Z%d T%d %.6g %.6g %.6g %s:",
                    image.getNChannels(), image.getNSlices(), image.getNFrames(), calibration.pixelWidth,
                    calibration.pixelHeight, calibration.pixelDepth, calibration.getUnit().replace("\u00b5", "u")));
            ImageStack stack = image.getStack();
            for (int plane = 1; plane <= stack.getSize(); plane++) {
                int value = image.getType() == ImagePlus.COLOR_RGB ? stack.getProcessor(plane).get(0, 0) & 0xffffff
                        : Math.round(stack.getProcessor(plane).getf(0, 0));
                line.append(' ').append(value);
            }
            System.out.println(line);
        }
    }
}
