// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

import ij.CompositeImage;
import ij.IJ;
import ij.ImagePlus;
import ij.Prefs;
import ij.io.FileSaver;
import ij.measure.Calibration;
import ij.process.ImageProcessor;

/** MakeImageJ FIXTURES: the fixtures that ImageJ writes, without a display. */
public class MakeImageJ {
    static String folder;

    public static void main(String[] arguments) {
        folder = arguments[0];
        for (String type : new String[] {"8-bit", "16-bit", "32-bit", "RGB"}) {
            save(make(type, 1), "ij-" + type.toLowerCase());
        }
        calibrated("um", 0.25, 0.5);
        calibrated("cm", 0.01, 0.03);
        calibrated("inch", 1.0 / 300, 1.0 / 72);
        stacks();
        save(make("RGB", 2), "ij-rgb-stack");
        ImagePlus palette = make("8-bit", 1);
        palette.getProcessor().invertLut(); // which ImageJ writes as a palette
        save(palette, "ij-palette");
        Prefs.intelByteOrder = true;
        save(make("16-bit", 1), "ij-16-bit-le");
        save(make("16-bit", 3), "ij-stack-16-bit-le");
    }

    static ImagePlus make(String type, int depth) {
        ImagePlus image = IJ.createImage("fixture", type + " black", 37, 17, depth);
        for (int plane = 1; plane <= depth; ++plane) {
            fill(image.getStack().getProcessor(plane), image.getBitDepth(), plane);
        }
        return image;
    }

    static void fill(ImageProcessor pixels, int bits, int seed) {
        for (int y = 0; y < 17; ++y) {
            for (int x = 0; x < 37; ++x) {
                int value = (x < 18 ? x + y + seed : (x * 7919 + y * 104729 + seed * 1299709) * 2654435);
                if (bits == 32) {
                    pixels.setf(x, y, value / 1024.0f);
                } else {
                    pixels.set(x, y, bits == 8 ? value & 0xff : bits == 16 ? value & 0xffff : value & 0xffffff);
                }
            }
        }
    }

    static void calibrated(String unit, double width, double height) {
        ImagePlus image = make("8-bit", 1);
        Calibration calibration = image.getCalibration();
        calibration.setUnit(unit);
        calibration.pixelWidth = width;
        calibration.pixelHeight = height;
        save(image, "ij-calibrated-" + unit);
    }

    static void stacks() {
        save(make("16-bit", 3), "ij-stack-16-bit");
        save(hyperstack(), "ij-hyperstack");
    }

    static ImagePlus hyperstack() {
        ImagePlus image = make("8-bit", 6);
        image.setDimensions(2, 3, 1);
        return new CompositeImage(image, CompositeImage.GRAYSCALE);
    }

    static void save(ImagePlus image, String name) {
        FileSaver saver = new FileSaver(image);
        String path = folder + "/" + name + ".tif";
        boolean saved = image.getStackSize() > 1 ? saver.saveAsTiffStack(path) : saver.saveAsTiff(path);
        if (!saved) {
            throw new IllegalStateException("ImageJ did not write " + path);
        }
    }
}
