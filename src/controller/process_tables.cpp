#include "controller/process_tables.h"

#include "print/dpg_stage.h"
#include "smoothing/fast_wls_filter.h"
#include "tone/fast_object_adaptive_tone_mapping.h"
#include "tone/htr_parameters.h"

namespace lumo {

const HtrColorCompression& UsualColorCompression()
{
    static const HtrColorCompression compression;
    return compression;
}

void PrepareProcessTables()
{
    UsualPowerCurve(PowerCurve::encoding);
    UsualColorCompression();
    DecodingMap();
    DpgTables::Usual();
    const HtrParameters params;
    const FastWlsFilter filter(params.wlsSigma, params.wlsLambda);
    const FastObjectAdaptiveToneMapping mapping(params.regionWindowSize, params.regionWeightDecay);
}

} // namespace lumo
