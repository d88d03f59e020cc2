// How records are read from rows: tables of members, each with its column and its place in the record.
#pragma once

#include <cstddef>

template <typename Record, typename T>
struct RecordMember {
  T Record::*member;
  size_t offset;  // the layout is the contract with programs that are already built: tables are checked against it
  unsigned column;
};

// An entry of such a table; columns: the list of columns that the row has.
#define NUV_MEMBER(record, name, columns, column) \
  { &record::name, offsetof(record, name), columns::PositionOf(column) }

// Whether the members from `begin` to before `end` are adjacent, each `width` bytes wide, from `offset` on.
template <typename Member, size_t Count>
constexpr bool AreInARow(const Member (&members)[Count], size_t begin, size_t end, size_t offset, size_t width) {
  for (size_t i = begin; i < end; ++i) {
    if (members[i].offset != offset + (i - begin) * width) return false;
  }
  return end <= Count;
}
