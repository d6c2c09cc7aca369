// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/Export.h"

#include <memory>
#include <string>
#include <typeinfo>
#include <vector>

namespace velmo {

/// Names one message of a catalogue. Both members are stable: a message keeps them in all versions.
struct MessageId {
    /// Name of the enumeration that declares the ids, such as "eTiffImageFileMessage"; empty for no message.
    std::string domain;
    /// Value of the enumerator; -1 for no message.
    int id = -1;
};

/// The messages that make up the text of an error, from the outermost, which is the first line, to the
/// innermost, which is the reason.
///
/// Text that is not in a catalogue (that of libtiff or of the system) has no id and is left out. Copies share
/// the list. Reading is safe from any thread.
class VELMO_HOST_EXPORT MessageIds {
  public:
    /// No message. Allocates nothing.
    MessageIds() = default;

    /// All messages, from the outermost to the innermost; owned by this object and its copies.
    std::vector<MessageId> const& getAll() const noexcept;
    /// The message of the first line; its domain is empty if there is no message.
    MessageId const& getOutermost() const noexcept;
    /// The message nearest to the reason; its domain is empty if there is no message.
    MessageId const& getInnermost() const noexcept;
    /// Whether the list contains the message. `domain` is a name such as "eTiffImageFileMessage".
    bool contains(std::string const& domain, int id) const noexcept;
    /// The same for an enumerator, such as `eTiffImageFileMessage::eTIFM_OpenFileError`.
    template <class Domain>
    bool contains(Domain id) const {
        return contains(nameDomain(typeid(Domain).name()), static_cast<int>(id));
    }

    /// Appends a message as the innermost one.
    void add(std::string const& domain, int id);
    /// Appends the messages of a nested text.
    void add(MessageIds const& inner);

    /// The name of the domain whose catalogue is registered under `domainKey`, the type-name string of its
    /// enumeration: "eTiffImageFileMessage" for "N5velmo5image4file21eTiffImageFileMessage6domainE". A key
    /// that is no type-name string is returned as it is.
    static std::string nameDomain(std::string const& domainKey);

  private:
    std::shared_ptr<std::vector<MessageId> const> _pIds; ///< null for none
};

} // namespace velmo
