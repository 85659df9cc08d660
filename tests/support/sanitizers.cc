// How the sanitizers judge the tests. Leak checking is on; what a generation makes and the next one abandons, because
// whoever kept a pointer may still refer to it, is named here function by function.
extern "C" {

const char *__asan_default_options();
const char *__asan_default_options() {
    return "allocator_may_return_null=1"; // a service may announce more than there is
}

const char *__ubsan_default_options();
const char *__ubsan_default_options() {
    return "print_stacktrace=1";
}

const char *__lsan_default_options();
const char *__lsan_default_options() {
    return "print_suppressions=0";
}

const char *__lsan_default_suppressions();
const char *__lsan_default_suppressions() {
    return "leak:qarn_merge_init\n"             // the element store, the reply and VLAN reverse tables
           "leak:qarn_merge_hash_insert\n"      // entries of the store
           "leak:qarn_elem_info_create\n"       // elements
           "leak:qarn_elem_dependency_create\n" // and their dependencies
           "leak:decode_reply\n"                // texts, keys and command messages of elements
           "leak:qarn_ifindex_lists_init\n"     // the combined interface list
           "leak:add_vertex\n"                  // graphs
           "leak:add_edge\n"
           "leak:enqueue\n"                  // queues
           "leak:add_feature_key_to_list\n"; // feature keys, remembered while the library is loaded
}

} // extern "C"
