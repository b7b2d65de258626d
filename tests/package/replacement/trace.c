/* What a host may put in front of the trace facility. */
#include <stdio.h>

int vq_trace_level(void);
int vq_get_trace_file_line(void);
void vq_trace_write(int level, const char* text, int flag);
void vq_trace_input_error_msg(int level, const char* text);

int vq_trace_level(void) {
    return 0;
}

int vq_get_trace_file_line(void) {
    return 0;
}

void vq_trace_write(int level, const char* text, int flag) {
    (void)level;
    (void)flag;
    fprintf(stderr, "replaced: %s\n", text);
}

void vq_trace_input_error_msg(int level, const char* text) {
    (void)level;
    (void)text;
}
