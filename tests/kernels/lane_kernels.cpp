#include "lane_forms_test_kernels.h"
#include "tests/kernels/linked_kernels.h"

static const ostra::test::LinkedKernels kLaneForms(GetKernels_lane_forms_test());
