// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

import ij.CompositeImage;
import ij.IJ;
import ij.ImagePlus;
import ij.Prefs;
import ij.io.FileSaver;
import ij.measure.Calibration;

/** MakeHyperstacks FOLDER: hyperstacks that ImageJ writes without a display, in both byte orders. */
public class MakeHyperstacks {
    public static void main(String[] arguments) {
        for (boolean little : new boolean[] {true, false}) {
            Prefs.intelByteOrder = little;
            ImagePlus image = IJ.createImage("fixture", "16-bit black", 11, 9, 12);
            for (int plane = 1; plane <= 12; ++plane) {
                for (int y = 0; y < 9; ++y) {
                    for (int x = 0; x < 11; ++x) {
                        image.getStack().getProcessor(plane).set(x, y, (x * 3 + y * 5 + plane * 1000) & 0xffff);
                    }
                }
            }
            Calibration calibration = image.getCalibration();
            calibration.setUnit("um");
            calibration.pixelWidth = 0.25;
            calibration.pixelHeight = 0.5;
            calibration.pixelDepth = 2;
            image.setDimensions(2, 3, 2);
            ImagePlus hyperstack = new CompositeImage(image, CompositeImage.GRAYSCALE);
            String path = arguments[0] + "/ij-hyperstack-" + (little ? "le" : "be") + ".tif";
            if (!new FileSaver(hyperstack).saveAsTiffStack(path)) {
                throw new IllegalStateException("ImageJ did not write " + path);
            }
        }
    }
}
