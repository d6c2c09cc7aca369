// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ExpectedCatalogues.h"

namespace velmo::test {

ExpectedCatalogue const g_rawCatalogue = {
    "N5velmo5image4file20eRawImageFileMessage6domainE",
    {
        {0, "Failed to create raw image file %s"},
        {1, "Failed to create raw image file %s\n%s"},
        {2, "Failed to create distributed image\n%s"},
        {3, "Failed to write file header for file %s\n%s"},
        {4, "Input geometry with total size %lld and starting offset %lld is greater than global file size "
            "%lld for raw image file %s"},
        {5, "Invalid plan component indexes z=%d c=%d t=%d"},
        {6, "Error while loading raw image file %s\n%s"},
        {7, "Failed to open raw image file %s"},
        {8, "Failed to read raw image file %s for z=%d, c=%d, t=%d, pixelStartOffset=%lld and nbPixels=%lld"},
        {9, "Failed to reserve %lld bytes for raw image file %s"},
        {10, "Failed to reserve %lld bytes for raw image file %s\n%s"},
        {11, "Error while saving raw image file %s\n%s"},
        {12, "Failed to seek position into raw image file %s for z=%d, c=%d, t=%d and pixelStartOffset=%lld"},
        {13,
         "Failed to write raw image file %s for z=%d, c=%d, t=%d, pixelStartOffset=%lld and nbPixels=%lld"},
        {14, "Failed to write raw image file %s for z=%d, c=%d, t=%d, pixelStartOffset=%lld and "
             "nbPixels=%lld\n%s"},
    }};

// The texts of both formats differ by the format's name alone.
ExpectedCatalogue const g_im6Catalogue = [] {
    ExpectedCatalogue catalogue = {"N5velmo5image4file20eIm6ImageFileMessage6domainE",
                                   g_rawCatalogue.messages};
    for (ExpectedMessage& message : catalogue.messages) {
        auto const name = message.text.find(" raw ");
        if (name != std::string::npos) {
            message.text.replace(name, 5, " im6 ");
        }
    }
    return catalogue;
}();

ExpectedCatalogue const g_tiffCatalogue = {
    "N5velmo5image4file21eTiffImageFileMessage6domainE",
    {
        {0, "Buffer type mismatch between input image read from \"%s\" (%s) and input image read from \"%s\" "
            "(%s)"},
        {1, "An exception has been thrown while trying to close tiff file %s"},
        {2, "Color geometry type mismatch between input image read from \"%s\" (%s) and input image read "
            "from \"%s\" (%s)"},
        {3, "An exception has been thrown while creating file %s\n%s"},
        {4, "Failed to create tiff image file %s\n%s"},
        {5, "Failed to create distributed image\n%s"},
        {6, "Failed to create output image\n%s"},
        {7, "Resolution values x=%f and y=%f are not valid for image calibration into image file %s"},
        {8, "Invalid image buffer type enum value %d"},
        {9, "Un supported number of image image plans %d, greater than allowed tiff file number of pages %d "
            "for file %s"},
        {10, "Un supported plan size [sizeX=%d, sizeY=%d], greater than allowed tiff file components plan "
             "size %d for file %s"},
        {11, "Error while loading tiff image file %s\n%s"},
        {12,
         "Error while loading z-steps txt file \"%s\": field at line %d is not a positive numerical value"},
        {13, "Error while loading z-steps file \"%s\": %s"},
        {14, "An exception has been thrown while opening file %s\n%s"},
        {15, "Failed to open tiff image file %s\n%s"},
        {16, "Plan color type mismatch among tiff directories, found %s whereas reference is %s for file %s"},
        {17, "Plan size mismatch among tiff directories, found x=%d y=%d whereas reference is x=%d y=%d for "
             "file %s"},
        {18, "Error while saving tiff image file %s\n%s"},
        {19,
         "SizeC mismatch between input image read from \"%s\" (%d) and input image read from \"%s\" (%d)"},
        {20,
         "SizeX mismatch between input image read from \"%s\" (%d) and input image read from \"%s\" (%d)"},
        {21,
         "SizeY mismatch between input image read from \"%s\" (%d) and input image read from \"%s\" (%d)"},
        {22,
         "SizeZ mismatch between input image read from \"%s\" (%d) and input image read from \"%s\" (%d)"},
        {23, "Temporal geometry should be single"},
        {24, "Error while flushing tiff data for file %s\n%s"},
        {25, "Error while getting tiff tag %s for file %s\n%s"},
        {26, "Failed to initialize strip data of directory %d for file %s\n%s"},
        {27, "Error while decoding tiff error message\n[%s]"},
        {28, "Only interleaved Rgb tiff can be proceeded using rgb functions, while proceeding file %s"},
        {29, "Failed to read data of row %d for directory z=%d, c=%d, t=%d of file %s\n%s"},
        {30, "Failed to read data of strip %d for directory z=%d, c=%d, t=%d of file %s\n%s"},
        {31, "Error while setting directory %d for file %s\n%s"},
        {32, "Error while setting tiff tag %s for file %s\n%s"},
        {33, "Error while writing directory %s for file %s\n%s"},
        {34, "Failed to write data of row %d for directory z=%d, c=%d, t=%d of file %s\n%s"},
        {35, "Failed to write data of strip %d for directory z=%d, c=%d, t=%d of file %s\n%s"},
        {36, "Un supported image buffer type with bitsPerSamples=%d, sampleFormat=%d and image buffer mode "
             "%s for file %s"},
        {37, "Un supported tiff compression mode %s for file %s"},
        {38, "Un supported plan orientation value %d for file %s, image geometry may not be correctly read"},
        {39, "Un supported packed color image (ie. one bit per pixel binary image with color components) for "
             "file %s"},
        {40, "Un supported packed image with write access for file %s"},
        {41, "Un supported photometric interpretation value %d  with %d samples per pixels for file %s"},
        {42, "Un supported planar configuration value %d for file %s"},
        {43, "Un supported sub file type value %d for file %s"},
        {44, "Volume geometry type mismatch between input image read from \"%s\" (%s) and input image read "
             "from \"%s\" (%s)"},
        {45, "Number of z-steps (%d) does not match with number of z-plans minus one (%d-1)"},
    }};

ExpectedCatalogue const g_utilsCatalogue = {
    "N5velmo5image4file22eImageFileUtilsMessage6domainE",
    {
        {0, "More than one instance of keyword \"<INDEX>\" in pattern \"%s\""},
        {1, "Invalid pattern string (%s), mixing patterns with and without keyword \"<INDEX>\""},
    }};

ExpectedCatalogue const g_checkCatalogue = {
    "N5velmo5image4file22eImageFileCheckMessage6domainE",
    {
        {0, "%d strips of directory z=%d, c=%d, t=%d cannot be decoded, their pixels are zero; the first "
            "one:\n%s"},
        {1, "%d rows of directory z=%d, c=%d, t=%d cannot be decoded, their pixels are zero; the first "
            "one:\n%s"},
        {2, "The chain of directories breaks off behind directory %d of file %s"},
        {3, "The description announces %d planes, file %s holds %d"},
        {4, "Plane z=%d, c=%d, t=%d of file %s ends behind the end of the file"},
        {5, "The description announces %d planes, but the planes behind the first one cannot be located in "
            "file %s"},
        {6, "Planes of file %s are not converted to the byte order of this machine"},
        {7, "A part of plane z=%d, c=%d, t=%d of file %s is read from a wrong place: only whole planes are "
            "read correctly"},
        {8, "Packed pixels of directory z=%d, c=%d, t=%d of file %s are read from column %d instead of "
            "column %d"},
        {9, "Directory %d is addressed as directory %d of file %s: directory numbers have 16 bits"},
        {10, "Strip %d of directory z=%d, t=%d of file %s was not written, it keeps its former pixels\n%s"},
        {11, "Pixels %d to %d are not all inside the plane of %d pixels"},
        {12, "The directory has planes of %d x %d pixels of %d bits, the image has planes of %d x %d pixels "
             "of %d bits"},
        {13, "The strip has %d bytes in the file, too few for %d bytes of pixels"},
        {14, "The strip has no known place in the file, or its compression cannot be written"},
        {15, "The text holds a zero byte, which would end it in the file"},
        {16, "The file announces %d bytes of pixels and has %d bytes"},
        {17, "The image has %d pages, a file that can be loaded again holds at most %d of them"},
        {18, "The image has no pixels, its file could not be loaded again"},
        {19, "File %s of an archive record is missing and is created with zeros"},
        {20, "Not all pixels could be read, the missing ones are zero\n%s"},
        {21, "The first strip of file %s is read from byte %d instead of %d: only 32 bits of its offset are "
             "used"},
        {22, "Channels of the planes of file %s are not separated"},
    }};

std::vector<ExpectedCatalogue const*> getAllCatalogues() {
    return {&g_rawCatalogue, &g_im6Catalogue, &g_tiffCatalogue, &g_utilsCatalogue, &g_checkCatalogue};
}

} // namespace velmo::test
