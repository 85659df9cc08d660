add_story_test(t3_print_test print/key_table_test.cc print/vlan_key_table_test.cc)
add_story_test(t3_story_test story/conversion_test.cc)
target_compile_definitions(t3_story_test PRIVATE DDAS_LIBRARY="$<TARGET_FILE:ddas>")
add_dependencies(t3_story_test ddas)
