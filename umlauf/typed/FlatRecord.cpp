#include "umlauf/typed/FlatRecord.h"

CSerializable::~CSerializable() = default;
