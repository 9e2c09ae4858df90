#pragma once

#define IDC_STATIC -1
#define IDD_CONVERTER 100
#define IDC_VALUE 101
#define IDC_RESULT 102
#define IDC_NOTE 103
#define IDC_SWAP 104
#define IDC_FROM_PREFIX 105
#define IDC_FROM_UNIT 106
#define IDC_TO_PREFIX 107
#define IDC_TO_UNIT 108
