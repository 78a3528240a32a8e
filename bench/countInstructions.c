// A plugin for the emulator that counts the instructions a program executes and finally prints the
// number to standard error.  The emulator is packaged without its header, so the few declarations
// that this needs are repeated here.
#include <inttypes.h>
#include <stdio.h>

struct qemu_plugin_tb;
typedef struct qemu_info_t qemu_info_t;
enum qemu_plugin_op { QEMU_PLUGIN_INLINE_ADD_U64 };
typedef void (*TranslationCallback)(uint64_t id, struct qemu_plugin_tb* block);
typedef void (*ExitCallback)(uint64_t id, void* data);
void qemu_plugin_register_vcpu_tb_trans_cb(uint64_t id, TranslationCallback callback);
void qemu_plugin_register_atexit_cb(uint64_t id, ExitCallback callback, void* data);
void qemu_plugin_register_vcpu_tb_exec_inline(struct qemu_plugin_tb* block,
                                              enum qemu_plugin_op operation, void* counter,
                                              uint64_t number);
size_t qemu_plugin_tb_n_insns(const struct qemu_plugin_tb* block);

__attribute__((visibility("default"))) int qemu_plugin_version = 1;

static uint64_t executed;

static void countBlock(uint64_t id, struct qemu_plugin_tb* block)
{
    (void)id;
    qemu_plugin_register_vcpu_tb_exec_inline(block, QEMU_PLUGIN_INLINE_ADD_U64, &executed,
                                             qemu_plugin_tb_n_insns(block));
}

static void report(uint64_t id, void* data)
{
    (void)id;
    (void)data;
    fprintf(stderr, "Collected : %" PRIu64 "\n", executed);
}

__attribute__((visibility("default"))) int qemu_plugin_install(uint64_t id, const qemu_info_t* info,
                                                               int argc, char** argv)
{
    (void)info;
    (void)argc;
    (void)argv;
    qemu_plugin_register_vcpu_tb_trans_cb(id, countBlock);
    qemu_plugin_register_atexit_cb(id, report, NULL);
    return 0;
}
