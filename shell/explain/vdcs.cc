// The display of all VDCs, explained. Each VDC's display is printed by a shell of its own, which explains it.
#include <qarncli/qarncli.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>

#include "shell/exit_code.h"
#include "shell/explain/explanations.h"
#include "sim/observer.h"

namespace shell {
namespace {

// Of the environment of a shell that has to explain its display; its value says in which form.
constexpr char kVariable[] = "VSH_EXPLAIN";
constexpr char kColumns[] = "columns", kJson[] = "json";

// The lines between the displays are shown at once, because another process prints what follows.
class LinesBetween : public sim::Observer {
  public:
    explicit LinesBetween(bool as_json) : row_(as_json ? row_between_vdcs_as_json : row_between_vdcs) {}

    void printed(const char *, const char *, std::string_view text) override {
        rest_.append(text);
        for (std::size_t end = 0; (end = rest_.find('\n')) != std::string::npos; rest_.erase(0, end + 1)) {
            const std::string row = row_(std::string_view(rest_).substr(0, end));
            std::fwrite(row.data(), 1, row.size(), stdout);
        }
    }
    void rendered(std::string_view) override {}
    void sent(uint32_t, uint32_t, const sim::Bytes &) override {}
    void received(const sim::Message &) override {}
    void received_nothing(int) override {}

  private:
    std::string (*row_)(std::string_view line);
    std::string rest_; // a line without its end
};

Runner with_origins_of_vdcs(bool as_json) {
    return [as_json](sim::Switch &sw, EntryPoint entry, qarn_req &req) {
        setenv(kVariable, as_json ? kJson : kColumns, 1);
        LinesBetween lines(as_json);
        sw.observers.push_back(&lines);
        std::FILE *const output = std::exchange(sw.output, nullptr);
        const uint32_t status = entry(&req);
        sw.output = output;
        sw.observers.pop_back();
        return Ran{status, kExitComplete};
    };
}

} // namespace

Runner with_origins(EntryPoint entry, bool as_json) {
    if (entry == qarn_cli_run_cfg_gen_vdcall) return with_origins_of_vdcs(as_json);
    return explained_by(as_json ? show_origins_as_json : show_origins);
}

Runner with_demanded_origins() {
    const char *demanded = std::getenv(kVariable);
    if (demanded == nullptr) return {};
    return explained_by(demanded == std::string_view(kJson) ? show_origins_as_json : show_origins);
}

} // namespace shell
