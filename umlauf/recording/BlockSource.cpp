#include "umlauf/recording/BlockSource.h"

CBlockSource::~CBlockSource() = default;

CString CBlockSource::ChannelName(unsigned) const { return CString(); }

bool CBlockSource::Seek(std::uint64_t) { return false; }
