// The tree. A list of words is a table; a word that others follow refers to the table of these.
#include "shell/grammar.h"

#include "shell/actions.h"
#include "shell/forms.h"

namespace shell {
namespace {

constexpr Display kRunning = {false, 0}, kStartup = {true, 0}, kCheckpoint = {false, QARN_OPTION_CHECKPOINT};

// The arguments of what may follow a form.
constexpr Node kNarrowingService[] = {{.word = "NAME",
                                       .help = "a service",
                                       .slot = Slot::kService,
                                       .action = show_configuration,
                                       .narrowing = &kByService,
                                       .has_defaults = true}};
constexpr Node kNarrowingFeature[] = {{.word = "NAME",
                                       .help = "a feature",
                                       .slot = Slot::kFeature,
                                       .action = show_configuration,
                                       .narrowing = &kByFeature,
                                       .has_defaults = true}};
constexpr Node kNarrowings[] = {
    {.word = "service", .help = "only what one service says of it", .next = kNarrowingService},
    {.word = "feature", .help = "only what the services of one feature say of it", .next = kNarrowingFeature},
    {.word = "all",
     .help = "with what has its default value",
     .action = show_configuration,
     .narrowing = &kWithDefaults,
     .is_of_running = true},
};

// The arguments of forms.
constexpr Node kVlanRange[] = {{.word = "RANGE",
                                .help = "these VLANs, such as 10-12,20",
                                .slot = Slot::kVlans,
                                .action = show_configuration,
                                .form = &kVlan,
                                .has_services = true,
                                .has_defaults = true}};
constexpr Node kVsanRange[] = {{.word = "RANGE",
                                .help = "these VSANs",
                                .slot = Slot::kVsans,
                                .action = show_configuration,
                                .form = &kVsan,
                                .has_services = true,
                                .has_defaults = true}};
constexpr Node kInterfaceNames[] = {{.word = "NAME[-NUMBER]",
                                     .help = "interfaces, such as ethernet 1/1-4,9",
                                     .slot = Slot::kInterfaces,
                                     .action = show_configuration,
                                     .form = &kInterface,
                                     .has_defaults = true}};
constexpr Node kProfileName[] = {{.word = "NAME",
                                  .help = "a port profile",
                                  .slot = Slot::kPortProfile,
                                  .action = show_configuration,
                                  .form = &kPortProfile,
                                  .has_defaults = true}};
constexpr Node kExcludedService[] = {{.word = "SERVICE",
                                      .help = "a service to leave out",
                                      .slot = Slot::kService,
                                      .repeats = true,
                                      .action = show_configuration,
                                      .form = &kExclude}};
constexpr Node kServiceName[] = {
    {.word = "NAME", .help = "a service", .slot = Slot::kService, .action = show_configuration, .form = &kService}};
constexpr Node kFeatureName[] = {{.word = "NAME",
                                  .help = "a feature",
                                  .slot = Slot::kFeature,
                                  .action = show_configuration,
                                  .form = &kFeature,
                                  .has_defaults = true}};
constexpr Node kEveryVdc[] = {
    {.word = "vdc-all", .help = "every VDC, with defaults", .action = show_configuration, .form = &kAllVdcAll}};

// The forms of a display.
constexpr Node kForms[] = {
    {.word = "vlan",
     .help = "all VLANs, or those in a range",
     .action = show_configuration,
     .form = &kVlan,
     .next = kVlanRange,
     .has_services = true},
    {.word = "vsan",
     .help = "all VSANs, or those in a range",
     .action = show_configuration,
     .form = &kVsan,
     .next = kVsanRange,
     .has_services = true},
    {.word = "interface", .help = "the named interfaces", .next = kInterfaceNames},
    {.word = "bfd",
     .help = "only BFD",
     .action = show_configuration,
     .form = &kBfd,
     .has_services = true,
     .has_defaults = true},
    {.word = "l2mp",
     .help = "only L2MP",
     .action = show_configuration,
     .form = &kL2mp,
     .has_services = true,
     .has_defaults = true},
    {.word = "fex",
     .help = "only FEX",
     .action = show_configuration,
     .form = &kFex,
     .has_services = true,
     .has_defaults = true},
    {.word = "exclude-l2mp",
     .help = "everything except L2MP",
     .action = show_configuration,
     .form = &kExcludeL2mp,
     .has_services = true,
     .has_defaults = true},
    {.word = "exclude-fex",
     .help = "everything except FEX",
     .action = show_configuration,
     .form = &kExcludeFex,
     .has_services = true,
     .has_defaults = true},
    {.word = "port-profile", .help = "one port profile", .next = kProfileName},
    {.word = "exclude", .help = "everything except the named services", .next = kExcludedService},
    {.word = "service", .help = "one service", .next = kServiceName},
    {.word = "feature", .help = "the services of one feature", .next = kFeatureName},
    {.word = "all",
     .help = "everything, and the services also send what has its default value",
     .action = show_configuration,
     .form = &kAll,
     .next = kEveryVdc},
    {.word = "template", .help = "the templates", .action = show_configuration, .form = &kTemplate},
    {.word = "services",
     .help = "what was saved, service by service",
     .action = show_saved_services,
     .is_of_store = true,
     .own_text = OwnText::kTable},
    {.word = "modules", .help = "the line-card modules", .action = show_configuration, .form = &kModules},
    {.word = "vdc-all", .help = "the configuration of every VDC", .action = show_configuration, .form = &kVdcAll},
};

constexpr Node kBrief[] = {
    {.word = "brief", .help = "one line for each interface", .action = show_interfaces, .own_text = OwnText::kTable}};

// The display of all VDCs runs the short words in the shell of a VDC.
constexpr Node kShow[] = {
    {.word = "running-config",
     .help = "the running configuration",
     .action = show_configuration,
     .display = &kRunning,
     .form = &kWhole,
     .next = kForms},
    {.word = "startup-config",
     .help = "the startup configuration",
     .action = show_configuration,
     .display = &kStartup,
     .form = &kWhole,
     .next = kForms},
    {.word = "services", .help = "the services of the switch", .action = show_services, .own_text = OwnText::kTable},
    {.word = "interfaces", .help = "the interfaces of the switch", .next = kBrief},
    {.word = "vdc",
     .help = "the virtual device contexts (VDCs) of the switch",
     .action = show_vdcs,
     .own_text = OwnText::kTable},
    {.word = "diff",
     .help = "what the running configuration changes in the startup configuration",
     .action = show_difference,
     .own_text = OwnText::kLines},
    {.word = "running",
     .help = "",
     .is_hidden = true,
     .action = show_configuration,
     .display = &kRunning,
     .form = &kWhole,
     .next = kForms},
    {.word = "startup",
     .help = "",
     .is_hidden = true,
     .action = show_configuration,
     .display = &kStartup,
     .form = &kWhole,
     .next = kForms},
};

constexpr Node kOrderedElement[] = {{.word = "ELEMENT",
                                     .help = "the id of an element, or UUID,ID",
                                     .slot = Slot::kNumber,
                                     .action = explain_order,
                                     .own_text = OwnText::kLines}};
constexpr Node kOrderedService[] = {
    {.word = "SERVICE", .help = "a service", .slot = Slot::kService, .next = kOrderedElement}};
constexpr Node kSteps[] = {{.word = "STEPS",
                            .help = "so many dependencies away",
                            .slot = Slot::kNumber,
                            .action = explain_graph_around,
                            .own_text = OwnText::kLines}};
constexpr Node kCenter[] = {
    {.word = "ELEMENT", .help = "the id of an element, or UUID,ID", .slot = Slot::kNumber, .next = kSteps}};
constexpr Node kCenterService[] = {{.word = "SERVICE", .help = "a service", .slot = Slot::kService, .next = kCenter}};
constexpr Node kGraphLevel[] = {{.word = "LEVEL",
                                 .help = "a number from 0 to 12",
                                 .slot = Slot::kNumber,
                                 .action = explain_graph_of_level,
                                 .own_text = OwnText::kLines}};
constexpr Node kGraphService[] = {{.word = "NAME",
                                   .help = "a service",
                                   .slot = Slot::kService,
                                   .action = explain_graph_of_service,
                                   .own_text = OwnText::kLines}};
constexpr Node kGraphs[] = {
    {.word = "level", .help = "of one level", .next = kGraphLevel},
    {.word = "service", .help = "of what one service has sent", .next = kGraphService},
    {.word = "around", .help = "around one element", .next = kCenterService},
};

constexpr Node kExplained[] = {
    {.word = "running-config",
     .help = "of the running configuration",
     .action = show_configuration,
     .display = &kRunning,
     .form = &kWhole,
     .next = kForms},
    {.word = "startup-config",
     .help = "of the startup configuration",
     .action = show_configuration,
     .display = &kStartup,
     .form = &kWhole,
     .next = kForms},
    {.word = "checkpoint",
     .help = "of the running configuration, each VLAN printed separately",
     .action = show_configuration,
     .display = &kCheckpoint,
     .form = &kWhole,
     .next = kForms},
    {.word = "order", .help = "why an element is printed where it is", .next = kOrderedService},
    {.word = "loop",
     .help = "the elements that wait for each other",
     .action = explain_loop,
     .own_text = OwnText::kLines},
    {.word = "graph",
     .help = "the dependencies, as a picture for Graphviz",
     .action = explain_graph,
     .next = kGraphs,
     .own_text = OwnText::kLines},
    {.word = "services",
     .help = "what each service has sent, and when",
     .action = explain_services,
     .own_text = OwnText::kTable},
};

constexpr Node kTextOnly[] = {
    {.word = "--text", .help = "line by line, as diff -u does", .action = compare_texts, .own_text = OwnText::kLines}};
constexpr Node kSecond[] = {{.word = "B",
                             .help = "running, startup, or the file of a recording",
                             .slot = Slot::kConfiguration,
                             .action = compare_configurations,
                             .next = kTextOnly,
                             .own_text = OwnText::kLines}};
constexpr Node kFirst[] = {{.word = "A",
                            .help = "running, startup, or the file of a recording",
                            .slot = Slot::kConfiguration,
                            .next = kSecond}};

constexpr Node kOrdersAfterRules[] = {{.word = "N",
                                       .help = "a number of orders",
                                       .slot = Slot::kNumber,
                                       .action = check_except_orders,
                                       .own_text = OwnText::kTable}};
constexpr Node kAfterRules[] = {{.word = "orders", .help = "so many orders of the replies", .next = kOrdersAfterRules}};
constexpr Node kRules[] = {{.word = "RULE[,RULE...]",
                            .help = "names of rules",
                            .slot = Slot::kRules,
                            .action = check_except,
                            .next = kAfterRules,
                            .own_text = OwnText::kTable}};
constexpr Node kOrders[] = {{.word = "N",
                             .help = "a number of orders",
                             .slot = Slot::kNumber,
                             .action = check_orders,
                             .own_text = OwnText::kTable}};
constexpr Node kCheck[] = {
    {.word = "except", .help = "leave rules out", .next = kRules},
    {.word = "orders", .help = "try so many orders of the replies (5)", .next = kOrders},
    {.word = "rules", .help = "list the rules", .action = list_check_rules, .own_text = OwnText::kTable},
};

constexpr Node kCopyTarget[] = {
    {.word = "startup-config", .help = "save it as the startup configuration", .action = save_configuration},
    {.word = "FILE", .help = "write it to a file, if it is complete", .slot = Slot::kFile, .action = copy_to_file}};
constexpr Node kCopySource[] = {{.word = "running-config", .help = "the running configuration", .next = kCopyTarget}};

constexpr Node kVdcName[] = {{.word = "NAME", .help = "an active VDC", .slot = Slot::kVdc, .action = enter_vdc}};
constexpr Node kVdc[] = {{.word = "vdc", .help = "enter a VDC", .next = kVdcName}};

constexpr Node kCommands[] = {
    {.word = "show", .help = "show a configuration", .next = kShow},
    {.word = "checkpoint",
     .help = "the running configuration, each VLAN printed separately",
     .action = show_configuration,
     .display = &kCheckpoint,
     .form = &kWhole,
     .next = kForms},
    {.word = "explain",
     .help = "show where each line of a configuration comes from",
     .next = kExplained,
     .is_explanation = true},
    {.word = "check",
     .help = "what is wrong with the configuration that the services send",
     .action = check_services,
     .next = kCheck,
     .is_explanation = true,
     .own_text = OwnText::kTable},
    {.word = "diff", .help = "what differs between two configurations", .next = kFirst},
    {.word = "copy", .help = "save a configuration", .next = kCopySource},
    {.word = "switchto", .help = "enter a VDC", .next = kVdc},
    {.word = "switchback", .help = "return to the initial VDC", .action = leave_vdc},
    {.word = "exit", .help = "end the session", .action = end_session},
    {.word = "quit", .help = "end the session", .action = end_session},
};

} // namespace

std::span<const Node> commands() {
    return kCommands;
}

std::span<const Node> narrowings() {
    return kNarrowings;
}

bool exists(const Node &node, const Display *display) {
    if (node.is_of_store && (display == nullptr || !display->is_startup)) return false;
    if (node.is_of_running && display != nullptr && display->is_startup) return false;
    return display == nullptr || node.form == nullptr || entry_of(*node.form, *display) != nullptr;
}

} // namespace shell
