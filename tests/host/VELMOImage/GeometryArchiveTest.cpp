// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ArchiveRecords.h"
#include "GeometryBuilder.h"
#include "VELMOImage/VELMOImageLog.h"

#include <gmock/gmock.h>

using namespace velmo;
using namespace velmo::image;
using namespace velmo::test;
using testing::HasSubstr;

namespace {

ImageGeometryPtr makeNew(BaseImageGeometry const& geometry) {
    return boost::dynamic_pointer_cast<BaseImageGeometry>(geometry.createShared());
}

/// A heterogeneous geometry with names and everything else away from its default.
ImageGeometryPtr makeRich() {
    ImageGeometryPtr const pGeometry = GeometryBuilder()
                                           .volume(4)
                                           .channels(3)
                                           .sequence(3)
                                           .types({eIBT_UInt8, eIBT_Real32, eIBT_Label16})
                                           .build();
    pGeometry->getColorGeometry().setMinIsBlack(false);
    pGeometry->getColorGeometry().setChannelName("<red & \"rouge\">", 0);
    pGeometry->getColorGeometry().setChannelName("gr\xC3\xBCn", 2);
    return pGeometry;
}

/// Reads a damaged record into a geometry that holds something; it must keep it.
template <class Exception>
std::string refusalOf(std::string const& xml, BaseImageGeometry& geometry) {
    std::string const before = describe(geometry);
    std::string const text = thrownText<Exception>([&] { fromXml(xml, geometry); });
    EXPECT_EQ(describe(geometry), before);
    return text;
}

/// A geometry that must not be written: neither archive holds a byte of it.
template <class Exception>
std::string writeRefusalOf(BaseImageGeometry const& geometry) {
    std::ostringstream stream;
    BinaryOArchive archive(stream);
    std::string const text = thrownText<Exception>([&] { geometry.write(archive); });
    EXPECT_EQ(stream.str(), "");
    EXPECT_EQ(thrownText<Exception>([&] { toXml(geometry); }), text);
    return text;
}

} // namespace

TEST(GeometryArchive, ACountOfBufferTypesOrChannelNamesThatLiesIsRefused) {
    ImageGeometryPtr const pGeometry = makeRich();
    std::string const xml = toXml(*pGeometry);
    EXPECT_THAT(refusalOf<VELMOImageException>(withItem(xml, "nbBufferTypes", "2"), *pGeometry),
                HasSubstr("2 buffer types fit neither"));
    EXPECT_THAT(refusalOf<VELMOImageException>(withItem(xml, "nbBufferTypes", "0"), *pGeometry),
                HasSubstr("0 buffer types fit neither"));
    EXPECT_EQ(refusalOf<VELMOImageException>(withItem(xml, "sizeC", "2"), *pGeometry),
              "Channel 2 lies outside of a color geometry of 2 channels");
    for (char const* const count : {"4", "1152921504606846976", "18446744073709551615"}) {
        refusalOf<VELMOSerializationException>(withItem(xml, "nbBufferTypes", count), *pGeometry);
    }
    for (char const* const count : {"1", "3", "18446744073709551615"}) {
        refusalOf<VELMOSerializationException>(withItem(xml, "nbChannelNames", count), *pGeometry);
    }
    std::string binary = toBinary(*pGeometry);
    binary.replace(binary.size() - 8 * 4, 8, std::string(8, '\xFF')); // the count before three types
    EXPECT_THROW(fromBinary(binary, *pGeometry), VELMOSerializationException);
}

TEST(GeometryArchive, SizesWhoseProductPasses64BitsAreRefused) {
    ImageGeometryPtr const pGeometry = GeometryBuilder().volume(4).channels(3).sequence(3).build();
    std::string const xml = toXml(*pGeometry);
    for (char const* const name : {"sizeX", "sizeY", "sizeZ", "sizeC", "sizeT"}) {
        EXPECT_THAT(refusalOf<VELMOImageException>(withItem(xml, name, "18446744073709551615"), *pGeometry),
                    HasSubstr("more bytes than 64 bits can count"))
            << name;
    }
}

TEST(GeometryArchive, AnEnumerationValueThatNobodyKnowsIsRefused) {
    struct Row {
        char const* item;
        char const* firstUnknown;
    };
    constexpr Row rows[] = {{"volumeGeometryType", "2"},
                            {"colorGeometryType", "11"},
                            {"temporalGeometryType", "2"},
                            {"bufferType", "12"},
                            {"bufferType", "18446744073709551615"}};
    for (ImageGeometryPtr const& pGeometry : {makeRich(), GeometryBuilder().build()}) {
        for (Row const& row : rows) {
            std::string const xml = withItem(toXml(*pGeometry), row.item, row.firstUnknown);
            EXPECT_EQ(refusalOf<VELMOSerializationException>(xml, *pGeometry),
                      std::string("The archive holds the unknown enumeration value ") + row.firstUnknown)
                << row.item;
        }
    }
}

TEST(GeometryArchive, AValueThatReadingWouldRefuseIsNotWritten) {
    auto const outside = static_cast<eImageBufferType>(12);
    ImageGeometryPtr const pColor =
        GeometryBuilder().color(static_cast<eColorGeometryType>(eCGT_User + 1)).build();
    EXPECT_EQ(writeRefusalOf<VELMOSerializationException>(*pColor),
              "The unknown enumeration value 11 cannot be stored in an archive");
    for (GeometryBuilder const& builder :
         {GeometryBuilder().type(outside),
          GeometryBuilder().sequence(3).types({eIBT_UInt8, eIBT_Label8, outside}),
          GeometryBuilder().volume(2).types({outside, eIBT_UInt8})}) {
        EXPECT_EQ(writeRefusalOf<VELMOSerializationException>(*builder.build()),
                  "The unknown enumeration value 12 cannot be stored in an archive");
    }
}

TEST(GeometryArchive, TypesThatNoLongerFitAreNotWritten) {
    ImageGeometryPtr const pPlanes = GeometryBuilder().volume(2).types({eIBT_UInt8, eIBT_Int16}).build();
    pPlanes->getVolumeGeometry().init3d(5);
    EXPECT_EQ(writeRefusalOf<VELMOImageException>(*pPlanes),
              "2 buffer types fit neither the time steps nor the planes of an image of sizes z=5 t=1");
    ImageGeometryPtr const pSteps =
        GeometryBuilder().sequence(3).types({eIBT_UInt8, eIBT_Int16, eIBT_UInt8}).build();
    for (vlUInt64 const sizeT : {vlUInt64{0}, vlUInt64{2}, vlUInt64{4}}) {
        pSteps->getTemporalGeometry().initSequence(sizeT);
        EXPECT_THAT(writeRefusalOf<VELMOImageException>(*pSteps), HasSubstr("3 buffer types fit neither"));
    }
    ImageGeometryPtr const pHuge = GeometryBuilder().build();
    pHuge->getVolumeGeometry().init3d(NumericLimits<vlUInt64>::s_max);
    EXPECT_THAT(writeRefusalOf<VELMOImageException>(*pHuge), HasSubstr("more bytes than 64 bits can count"));
}

TEST(GeometryArchive, ANewerVersionIsRefused) {
    for (ImageGeometryPtr const& pGeometry : {makeRich(), GeometryBuilder().build()}) {
        std::string const xml = withItem(toXml(*pGeometry), "version", "2");
        EXPECT_EQ(refusalOf<VELMOSerializationException>(xml, *pGeometry),
                  "Version 2 of class " + pGeometry->getClassName() +
                      " in the archive is newer than the known version 1");
    }
}

TEST(GeometryArchive, EveryKindComesBackFromArchivesIntoWhateverAGeometryHeldAndAsAnObject) {
    std::vector<NamedGeometry> kinds = makeAllKinds();
    kinds.push_back({"rich", makeRich()});
    kinds.push_back({"64 bits", geometry3d(eIBT_UInt8, 1, 1, NumericLimits<vlUInt64>::s_max)});
    for (NamedGeometry const& kind : kinds) {
        SCOPED_TRACE(kind.name);
        std::string const expected = describe(*kind.pGeometry);
        ImageGeometryPtr const pRead = makeNew(*kind.pGeometry);
        EXPECT_TRUE(fromBinary(toBinary(*kind.pGeometry), *pRead));
        EXPECT_EQ(describe(*pRead), expected);
        EXPECT_EQ(pRead->getFullMemorySize(), kind.pGeometry->getFullMemorySize());
        pRead->setBufferType(eIBT_Label8);
        EXPECT_TRUE(fromXml(toXml(*kind.pGeometry), *pRead));
        EXPECT_EQ(describe(*pRead), expected);
        std::stringstream stream;
        BinaryOArchive oArchive(stream);
        oArchive.writeObject("geometry", kind.pGeometry);
        oArchive.writeObject("geometry", kind.pGeometry); // the version of the class is not stored again
        BinaryIArchive iArchive(stream);
        for (int round = 0; round < 2; ++round) {
            auto const pObject =
                boost::dynamic_pointer_cast<BaseImageGeometry>(iArchive.readObject("geometry"));
            ASSERT_TRUE(pObject);
            EXPECT_EQ(describe(*pObject), expected);
        }
    }
    EXPECT_THAT(describe(*makeRich()), HasSubstr("minIsBlack=0 name0=<red & \"rouge\"> name2=gr\xC3\xBCn"));
}

TEST(GeometryArchive, ARecordCutAtAnyByteIsRefusedAndChangesNothing) {
    for (ImageGeometryPtr const& pGeometry : {makeRich(), GeometryBuilder().volume(7).build()}) {
        std::string const record = toBinary(*pGeometry);
        ImageGeometryPtr const pRead = makeNew(*pGeometry);
        pRead->setBufferType(eIBT_Label8);
        std::string const before = describe(*pRead);
        for (std::size_t length = 0; length < record.size(); ++length) {
            EXPECT_THROW(fromBinary(record.substr(0, length), *pRead), VELMOSerializationException) << length;
            EXPECT_EQ(describe(*pRead), before) << length;
        }
        std::string const xml = toXml(*pGeometry);
        for (std::size_t length = 0; length < xml.rfind('>'); ++length) {
            refusalOf<VELMOSerializationException>(xml.substr(0, length), *pGeometry);
        }
    }
}
