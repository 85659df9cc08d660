// The feature filter reads the shell's table of features, the view filter one property bit for each view.
#include "model/element_filter.h"

#include <qarncli/globals.h>
#include <qarncli/request.h>

#include <iterator>

#include "platform/cmdshell.h"

namespace qarn {
namespace {

struct View {
    uint32_t display;
    uint32_t property;
    bool kept_when_set; // else kept when the bit is clear
};
constexpr View kViews[] = {
    {QARN_DISPLAY_VSAN, QARN_PROP_VSAN, true},     {QARN_DISPLAY_VLAN, QARN_PROP_VLAN, true},
    {QARN_DISPLAY_BFD, QARN_PROP_BFD, true},       {QARN_DISPLAY_L2MP, QARN_PROP_L2MP, true},
    {QARN_DISPLAY_NO_L2MP, QARN_PROP_L2MP, false}, {QARN_DISPLAY_FEX, QARN_PROP_FEX, true},
    {QARN_DISPLAY_NO_FEX, QARN_PROP_FEX, false},
};

} // namespace

bool passes_feature_filter(const qarn_elem &elem) {
    if (qarn_feature != 1 || ftbl_index == 0) return true;
    static constexpr uint32_t kEmptyRow[std::size(show_feature_table[0])] = {};
    const uint32_t *pair = (ftbl_index < SHOW_TABLE_ROWS ? show_feature_table[ftbl_index] : kEmptyRow) + 1;
    for (int i = 0; i < SHOW_FEATURE_PAIRS; ++i, pair += 2) {
        if (pair[0] == elem.uuid && (pair[1] == 0 || pair[1] == elem.elem_id)) return true;
    }
    return false;
}

bool passes_view_filter(const qarn_elem &elem) {
    for (const View &view : kViews) {
        if (view.display == cfg_display) return ((elem.property & view.property) != 0) == view.kept_when_set;
    }
    return true;
}

} // namespace qarn
