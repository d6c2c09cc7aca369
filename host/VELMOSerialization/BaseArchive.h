// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOSerialization/BaseDynamicObject.h"
#include "VELMOUtil/Export.h"
#include "VELMOUtil/Types.h"

#include <map>
#include <string>

namespace velmo {

/// Base class of archives: class versions and nested sections.
class VELMO_HOST_EXPORT BaseArchive {
  public:
    virtual ~BaseArchive();
    BaseArchive(BaseArchive const&) = delete;
    BaseArchive& operator=(BaseArchive const&) = delete;

    /// Whether the archive is text, where enumerations are stored as names and not as numbers.
    virtual bool isTextual() const { return false; }

    /// The version of a class is stored once in each archive: these operations keep which versions were
    /// written or read.
    bool isClassVersionRegistred(std::string const& className) const;
    /// 0 if the class is not registered.
    unsigned int getRegisterClassVersion(std::string const& className) const;
    /// Replaces a version that was registered before.
    void registerClassVersion(std::string const& className, unsigned int version);

    /// For ArchiveSectionManager. Throws VELMOSerializationException above 64 levels, as a damaged archive
    /// could nest without limit.
    void openSection(std::string const& sectionName);
    /// Closes the section that was opened last.
    void closeSection();

  protected:
    BaseArchive() = default;

  private:
    virtual void openSectionDerived(std::string const& sectionName) = 0;
    virtual void closeSectionDerived() = 0;

    std::map<std::string, unsigned int> _classVersions;
    unsigned int _depth = 0;
};

/// Opens a named section of an archive and closes it at destruction.
class ArchiveSectionManager {
  public:
    /// Opens the section.
    ArchiveSectionManager(BaseArchive& archive, std::string const& sectionName) : _archive(archive) {
        _archive.openSection(sectionName);
    }
    ~ArchiveSectionManager() { _archive.closeSection(); }
    ArchiveSectionManager(ArchiveSectionManager const&) = delete;
    ArchiveSectionManager& operator=(ArchiveSectionManager const&) = delete;

  private:
    BaseArchive& _archive;
};

/// Name of a field and the value to write. Does not own the value.
template <class T>
class SerializationOItem {
  public:
    /// `pValue` must outlive the item.
    SerializationOItem(std::string name, T const* pValue) : _name(std::move(name)), _pValue(pValue) {}
    /// @{
    /// Name and value.
    std::string const& getName() const { return _name; }
    T const& getValue() const { return *_pValue; }
    /// @}

  private:
    std::string _name;
    T const* _pValue;
};

/// Name of a field and the variable to read into. Does not own the variable.
template <class T>
class SerializationIItem {
  public:
    /// `pValue` must outlive the item.
    SerializationIItem(std::string name, T* pValue) : _name(std::move(name)), _pValue(pValue) {}
    /// @{
    /// Name and value.
    std::string const& getName() const { return _name; }
    T& getValue() const { return *_pValue; }
    /// @}

  private:
    std::string _name;
    T* _pValue;
};

/// An item to write: `archive << oItem("name", value)`.
template <class T>
SerializationOItem<T> oItem(std::string name, T const& value) {
    return SerializationOItem<T>(std::move(name), &value);
}

/// An item to read: `archive >> iItem("name", value)`.
template <class T>
SerializationIItem<T> iItem(std::string name, T& value) {
    return SerializationIItem<T>(std::move(name), &value);
}

/// An archive to write to. Throws VELMOSerializationException if the stream fails.
class VELMO_HOST_EXPORT BaseOArchive : public BaseArchive {
  public:
    /// @{
    /// Writes one value. Binary archives do not store the name, text archives do.
    virtual void writeItem(std::string const& name, int value) = 0;
    virtual void writeItem(std::string const& name, unsigned int value) = 0;
    virtual void writeItem(std::string const& name, unsigned long value) = 0;
    virtual void writeItem(std::string const& name, float value) = 0;
    virtual void writeItem(std::string const& name, std::string const& value) = 0;
    /// @}

    /// Writes an object with its class name, or a null pointer. Throws VELMOSerializationException if the
    /// object is not a BaseSerializationObject or its `write` fails.
    virtual void writeObject(std::string const& name,
                             boost::shared_ptr<BaseDynamicObject const> const& pObject);
};

/// An archive to read from. Every error is thrown as VELMOSerializationException: a stream that ends early, a
/// length that exceeds the rest of the stream, an item that is not of the expected type.
class VELMO_HOST_EXPORT BaseIArchive : public BaseArchive {
  public:
    /// @{
    /// Reads the next value, which must have been written as the same type. Text archives compare the name.
    /// After a failure `value` is unchanged.
    virtual void readItem(std::string const& name, int& value) = 0;
    virtual void readItem(std::string const& name, unsigned int& value) = 0;
    virtual void readItem(std::string const& name, unsigned long& value) = 0;
    virtual void readItem(std::string const& name, float& value) = 0;
    virtual void readItem(std::string const& name, std::string& value) = 0;
    /// @}

    /// Creates an object of the stored class and reads it; null if a null pointer was written. Throws if the
    /// factory does not know the class or if the `read` of the object fails.
    virtual DynamicObjectPtr readObject(std::string const& name);
};

/// Throws VELMOSerializationException: the archive holds an object of another class.
[[noreturn]] VELMO_HOST_EXPORT void raiseUnexpectedClass(std::string const& className,
                                                         std::string const& name);

/// Reads an object that must be a `T` or null; otherwise throws VELMOSerializationException.
template <class T>
boost::shared_ptr<T> readObjectOf(BaseIArchive& archive, std::string const& name) {
    DynamicObjectPtr const pObject = archive.readObject(name);
    auto pTyped = boost::dynamic_pointer_cast<T>(pObject);
    if (pObject && !pTyped) {
        raiseUnexpectedClass(pObject->getClassName(), name);
    }
    return pTyped;
}

/// @{
/// Writes the item and returns the archive.
inline BaseOArchive& operator<<(BaseOArchive& archive, SerializationOItem<int> const& item) {
    archive.writeItem(item.getName(), item.getValue());
    return archive;
}
inline BaseOArchive& operator<<(BaseOArchive& archive, SerializationOItem<unsigned int> const& item) {
    archive.writeItem(item.getName(), item.getValue());
    return archive;
}
inline BaseOArchive& operator<<(BaseOArchive& archive, SerializationOItem<unsigned long> const& item) {
    archive.writeItem(item.getName(), item.getValue());
    return archive;
}
inline BaseOArchive& operator<<(BaseOArchive& archive, SerializationOItem<float> const& item) {
    archive.writeItem(item.getName(), item.getValue());
    return archive;
}
inline BaseOArchive& operator<<(BaseOArchive& archive, SerializationOItem<std::string> const& item) {
    archive.writeItem(item.getName(), item.getValue());
    return archive;
}
/// @}

/// @{
/// Reads the item, which must be the next one, and returns the archive.
inline BaseIArchive& operator>>(BaseIArchive& archive, SerializationIItem<int> const& item) {
    archive.readItem(item.getName(), item.getValue());
    return archive;
}
inline BaseIArchive& operator>>(BaseIArchive& archive, SerializationIItem<unsigned int> const& item) {
    archive.readItem(item.getName(), item.getValue());
    return archive;
}
inline BaseIArchive& operator>>(BaseIArchive& archive, SerializationIItem<unsigned long> const& item) {
    archive.readItem(item.getName(), item.getValue());
    return archive;
}
inline BaseIArchive& operator>>(BaseIArchive& archive, SerializationIItem<float> const& item) {
    archive.readItem(item.getName(), item.getValue());
    return archive;
}
inline BaseIArchive& operator>>(BaseIArchive& archive, SerializationIItem<std::string> const& item) {
    archive.readItem(item.getName(), item.getValue());
    return archive;
}
/// @}

} // namespace velmo
