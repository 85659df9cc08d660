// Traces of whole commands that belong to the passes and printers: what is written to standard output, and what into
// the generated text.
#include "support/globals.h"
#include "support/story.h"

namespace {

using sim::Tlv;

class Traces : public test::Story {};

TEST_F(Traces, OfTheGraphNameItsVerticesAndEdges) {
    sw.service("a", 20, 11)
        .replies(Tlv()
                     .element({.uuid = 11, .elem_id = 1, .level = 3})
                     .after(11, 2)
                     .after(11, 9)
                     .element({.uuid = 11, .elem_id = 2, .level = 3})
                     .element({.uuid = 11, .elem_id = 3, .level = 3, .property = QARN_PROP_CONDITIONAL}));
    req.dbg_mask = QARN_DEBUG_GRAPH;
    run();
    EXPECT_EQ(body(),
              "(11,9) does not exist!\nAdding Edge (11,1)->(11,2)\n"
              "(11,9) does not exist!\nAdding Edge (11,1)->(11,2)\n");
    EXPECT_EQ(traces,
              "Adding Vertex (11,1)\nAdding Vertex (11,2)\nConditional Dependency not satisfied for (11,3)\n"
              "Adding Vertex (11,1)\nAdding Vertex (11,2)\nConditional Dependency not satisfied for (11,3)\n");
}

TEST_F(Traces, OfInterfacesNameTheirBlocksAndLookUps) {
    add_interface(0x101, "e1", 20).members = {0x102};
    add_interface(0x102, "e2", 1);
    sw.service("a", 20, 11)
        .replies(Tlv()
                     .element({.uuid = 11, .elem_id = 1, .level = 3, .property = QARN_PROP_INTF})
                     .intf_text(7, "nobody's\n")
                     .element({.uuid = 223, .elem_id = 1, .level = 4})
                     .element({.uuid = 223, .elem_id = 20, .level = 4})
                     .element({.uuid = 223, .elem_id = 21, .level = 4}));
    cmd_token_id = QARN_TOKEN_MEMBERSHIP;
    cfg_display = QARN_DISPLAY_INTERFACE;
    req.dbg_mask = QARN_DEBUG_LOOKUP | QARN_DEBUG_INTERFACE;
    generate();
    EXPECT_EQ(traces,
              "Copying ifindex sublist for 20 of length 1\nCopying ifindex sublist for 1 of length 1\n"
              "Ifindex list of length:1\nPrinting config for Ifindex:102\n"
              "String for (11,1) was 0\nString lookup for (11,1) was 0\n"
              "Ifindex list of length:1\nPrinting config for Ifindex:101\n"
              "String for (11,1) was 0\nString lookup for (11,1) was 0\n"
              "Getting members for ifIndex 101\nFound 1 members for ifIndex 0x101\n"
              "String for (11,1) was 0\nString lookup for (11,1) was 0\n"
              "Ifindex list not found for intf elem:21\n");
}

TEST_F(Traces, OfPrintersNameElementsAndInterfaces) {
    add_interface(0x101, "e1", 20);
    Tlv tlv;
    tlv.element({.uuid = 11, .elem_id = 1, .level = 3, .property = QARN_PROP_INTF | QARN_PROP_BFD})
        .intf_text(0x101, " \n")
        .element({.uuid = 223, .elem_id = 20, .level = 4, .property = QARN_PROP_BFD});
    sw.service("a", 20, 11).replies(tlv);
    req.dbg_mask = QARN_DEBUG_INTERFACE | QARN_DEBUG_PRINT;
    run(qarn_cli_run_bfd_cfg_gen);
    const std::string collected = "Printing config for UUID:11 Elem:1\n \nUUID:11 Elem:1 is an empty string\n";
    const std::string elements = "Printing config for UUID:11 Elem:1\nPrinting config for UUID:223 Elem:20\n";
    EXPECT_TRUE(text.ends_with("\n" + elements + collected + "\ninterface e1\n \n\n")) << text;
    EXPECT_EQ(traces,
              "Copying ifindex sublist for 20 of length 1\nIfindex list of length:1\n"
              " interface  101 config length 2\n");

    test::reset_globals();
    add_sap_token(20);
    run(qarn_cli_run_cfg_gen_sap);
    EXPECT_EQ(traces,
              "Copying ifindex sublist for 20 of length 1\n"
              "Ifindex list of length:1\nPrinting config for Ifindex:101\n" // of the walk, then of the block
              "Ifindex list of length:1\nPrinting config for Ifindex:101\n");
}

TEST_F(Traces, OfTablesShowTheirEntries) {
    test::start_generation(&req);
    int vlan = 7;
    GString *aggregate = g_string_new("shared");
    debug = QARN_DEBUG_STORE;
    watch([&] {
        qarn_vlan_reversetable_print(&vlan, aggregate, nullptr);
        for (int again = 0; again < 2; ++again)
            qarn_key_feature_print(const_cast<char *>("header\n"), aggregate, nullptr);
    });
    g_string_free(aggregate, TRUE);
    EXPECT_EQ(text,
              "PRINTING reversetable\n vlan id is 7\n reverse value str is shared\n reverse value len is 6\nheader\n");
    EXPECT_EQ(traces, "qarn_key_feature_print value::shared len::6\nqarn_key_feature_print value::shared len::6\n");
}

} // namespace
