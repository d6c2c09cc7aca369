// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

import ij.ImagePlus;
import ij.io.Opener;
import ij.measure.Calibration;
import java.util.Locale;

/** PixelSizeByImageJ FILE...: for each file a line of "pixel: ", its width, height and unit, as ImageJ shows them. */
public class PixelSizeByImageJ {
    public static void main(String[] paths) {
        for (String path : paths) {
            ImagePlus image = new Opener().openImage(path);
            Calibration calibration = image == null ? new Calibration() : image.getCalibration();
            System.out.println(String.format(Locale.ROOT, "pixel: %.6g %.6g %s", calibration.pixelWidth,
                    calibration.pixelHeight, calibration.getUnit().replace("\u00b5", "u")));
        }
    }
}
