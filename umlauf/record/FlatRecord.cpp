#include "umlauf/record/FlatRecord.h"

CSerializable::~CSerializable() = default;

std::int64_t CSerializable::read(const void*, std::uint64_t) { return -1; }
