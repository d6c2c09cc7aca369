// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

import ij.ImagePlus;
import ij.io.FileInfo;
import ij.io.Opener;
import ij.process.ImageProcessor;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.util.zip.CRC32;

/** PlanesByImageJ FILE...: for each file a line of "planes: " and their CRC-32, as ImageJ reads them. */
public class PlanesByImageJ {
    public static void main(String[] paths) {
        for (String path : paths) {
            System.out.println("planes: " + describe(path)); // ImageJ itself prints as well
        }
    }

    static String describe(String path) {
        if (isTurned(Opener.getTiffFileInfo(path))) {
            return "turned upside down";
        }
        try {
            ImagePlus image = new Opener().openImage(path);
            StringBuilder line = new StringBuilder();
            for (int plane = 1; plane <= image.getStackSize(); ++plane) {
                describe(image, image.getStack().getProcessor(plane), line);
            }
            return line.toString().trim();
        } catch (RuntimeException exception) {
            return exception.toString();
        }
    }

    /** ImageJ turns an image of one directory whose last strip lies before the first; not without a display. */
    static boolean isTurned(FileInfo[] directories) {
        int[] offsets = directories[0].stripOffsets;
        return directories.length == 1 && offsets != null && offsets[offsets.length - 1] < offsets[0];
    }

    static void describe(ImagePlus image, ImageProcessor pixels, StringBuilder line) {
        int offset = image.getCalibration().isSigned16Bit() ? -32768 : 0;
        if (image.getBitDepth() == 24) {
            for (int shift = 16; shift >= 0; shift -= 8) {
                append(line, pixels, 1, shift, 0);
            }
        } else {
            append(line, pixels, image.getBitDepth() / 8, 0, offset);
        }
    }

    static void append(StringBuilder line, ImageProcessor pixels, int size, int shift, int offset) {
        ByteBuffer buffer = ByteBuffer.allocate(pixels.getPixelCount() * size).order(ByteOrder.LITTLE_ENDIAN);
        for (int i = 0; i < pixels.getPixelCount(); ++i) {
            if (size == 1) {
                buffer.put((byte) (pixels.get(i) >> shift));
            } else if (size == 2) {
                buffer.putShort((short) (pixels.get(i) + offset));
            } else {
                buffer.putInt(Float.floatToRawIntBits(pixels.getf(i)));
            }
        }
        CRC32 crc = new CRC32();
        crc.update(buffer.array());
        line.append(String.format("%08x ", crc.getValue()));
    }
}
