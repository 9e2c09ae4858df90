#include "umlauf/recording/BlockSource.h"

CBlockSource::~CBlockSource() = default;

CString CBlockSource::ChannelName(unsigned) const { return CString(); }
