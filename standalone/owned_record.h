// How a host entry finds the C++ object that it belongs to.
//
// The library hands every entry the address of its record and nothing else. An OwnedRecord is such a record
// followed by a pointer to its owner; a static_cast from the record leads there. This needs no assumption
// about layout, and the host-owned fields of the record stay zero.
#ifndef EMLREADER_STANDALONE_OWNED_RECORD_H
#define EMLREADER_STANDALONE_OWNED_RECORD_H

namespace emlhost {

template <typename Record, typename Owner>
struct OwnedRecord : Record {
    // All entries start as NULL, which the library treats as entries that fail.
    explicit OwnedRecord(Owner* recordOwner) noexcept : Record{}, owner(recordOwner) {}

    OwnedRecord(const OwnedRecord&) = delete;
    OwnedRecord& operator=(const OwnedRecord&) = delete;

    // The owner of `record`, which must be an OwnedRecord of the same types.
    static Owner& ownerOf(Record* record) noexcept { return *static_cast<OwnedRecord*>(record)->owner; }

    Owner* owner;
};

}  // namespace emlhost

#endif
