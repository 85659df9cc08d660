// The commands that show what the switch consists of. They ask no service.
#include <algorithm>
#include <ctime>
#include <optional>
#include <stdexcept>
#include <string>

#include "shell/actions.h"
#include "shell/answer.h"
#include "shell/exit_code.h"
#include "shell/json.h"
#include "shell/remote_services.h"
#include "shell/session.h"
#include "shell/table.h"
#include "sim/saved_config.h"

namespace shell {
namespace {

bool answers_in_process(const sim::Switch &sw, const sim::Service &service) {
    return std::ranges::find(sw.in_process, service.sap, &sim::InProcess::sap) != sw.in_process.end();
}

std::string way_of_answering(const sim::Switch &sw, const sim::Service &service) {
    std::string way = service.is_silent ? "" : "on the transport";
    if (answers_in_process(sw, service)) way += way.empty() ? "in a shared library" : " and in a shared library";
    if (way.empty()) return "never";
    return way + (service.consumer ? "" : ", only when asked by name");
}

std::string names_of_members(const sim::Switch &sw, const sim::Interface &interface) {
    std::string names;
    for (const uint32_t member : interface.members) {
        const sim::Interface *found = sw.find_interface(member);
        names.append(names.empty() ? "" : ",").append(found != nullptr ? found->name : std::to_string(member));
    }
    return names;
}

Title title_of(const sim::Manifest &manifest) {
    const std::string vdc = std::to_string(manifest.vdc), size = std::to_string(manifest.text.size);
    return {"Saved " + time_text(manifest.saved_at) + " by switch " + manifest.switch_name + ", VDC " + vdc + ": " +
                size + " bytes of text\n",
            "\"saved\": {\"time\": " + json_time(manifest.saved_at) + ", \"switch\": " +
                json_text(manifest.switch_name) + ", \"vdc\": " + vdc + ", \"bytes\": " + size + "}"};
}

constexpr char kNothingSavedHere[] = // with --connect, where nothing can be saved
    "nothing was shown: there is no list of what was saved; name the folder of a saved configuration with --store";
constexpr char kNothingSaved[] =
    "nothing was shown: there is no list of what was saved; save a configuration with \"copy "
    "running-config startup-config\"";

int finish(Session &session, const Line &line, const Table &table) {
    return show_table(session, line, table, {}, kExitComplete);
}

} // namespace

int show_services(Session &session, const Line &line) {
    if (session.remote() != nullptr) return show_registered_services(session, line);
    const sim::Switch &sw = session.current();
    Table table({{"Service"}, {"SAP", true}, {"UUID", true}, {"Elements", true}, {"Answers"}});
    for (const sim::Service &service : sw.services) {
        table.add({service.name, std::to_string(service.sap), std::to_string(service.uuid),
                   std::to_string(service.elements.size()), way_of_answering(sw, service)});
    }
    return finish(session, line, table);
}

int show_interfaces(Session &session, const Line &line) {
    const sim::Switch &sw = session.current();
    Table table({{"Interface"}, {"VSAN", true}, {"Port profile"}, {"Members"}});
    for (const sim::Interface &interface : sw.interfaces) {
        table.add({interface.name, interface.vsan == 0 ? "" : std::to_string(interface.vsan), interface.port_profile,
                   names_of_members(sw, interface)});
    }
    return finish(session, line, table);
}

int show_vdcs(Session &session, const Line &line) {
    const sim::Switch &sw = session.current();
    Table table({{"Id", true}, {"VDC"}, {"State"}});
    for (const sim::Vdc &vdc : sw.vdcs) {
        const bool is_current = vdc.id == sw.vdc;
        table.add({std::to_string(vdc.id), vdc.name,
                   std::string(vdc.active ? "active" : "not active") + (is_current ? ", current" : "")});
    }
    return finish(session, line, table);
}

int show_saved_services(Session &session, const Line &line) {
    const std::optional<sim::SavedServices> saved = sim::list_saved_services(session.current());
    if (!saved) throw std::runtime_error(session.remote() != nullptr ? kNothingSavedHere : kNothingSaved);
    bool is_whole = sim::saved_config_problems().empty();
    Table table({{"Service"}, {"SAP", true}, {"Elements", true}, {"Bytes", true}, {"File"}});
    for (std::size_t i = 0; i < saved->faults.size(); ++i) {
        const sim::Manifest::SavedService &service = saved->manifest.services[i];
        const std::string &wrong = saved->faults[i];
        is_whole = is_whole && wrong.empty();
        table.add({service.name, std::to_string(service.sap), std::to_string(service.elements),
                   std::to_string(service.file.size), wrong.empty() ? "as saved" : wrong});
    }
    return show_table(session, line, table, title_of(saved->manifest), is_whole ? kExitComplete : kExitIncomplete);
}

} // namespace shell
