#include "umlauf/recording/EdgeSource.h"

CEdgeSource::~CEdgeSource() = default;
