add_story_test(entry_test entry/all_vdcs_test.cc entry/entry_points_test.cc entry/generate_test.cc
               entry/interruption_test.cc entry/output_test.cc entry/turn_test.cc)
add_story_test(collect_test collect/callbacks_test.cc collect/service_list_test.cc collect/request_message_test.cc collect/reply_table_test.cc)
add_story_test(model_test model/tlv_decode_test.cc model/ifindex_test.cc model/profile_test.cc)
add_story_test(order_test order/graph_test.cc order/sweep_test.cc)
add_story_test(print_test print/element_print_test.cc print/intf_print_test.cc print/id_range_test.cc print/display_test.cc
               print/key_table_test.cc print/vlan_key_table_test.cc)
add_story_test(story_test story/conversion_test.cc story/failures_test.cc story/model_test.cc
               story/soak_test.cc story/traces_test.cc)
target_compile_definitions(story_test PRIVATE DDAS_LIBRARY="$<TARGET_FILE:ddas>")
add_dependencies(story_test ddas)
add_story_test(startup_test startup/startup_test.cc)
