/* Prints what GMime finds in messages: one path from standard input, one line of JSON to standard output.
 * README.md beside this folder describes the line. */
#include <fcntl.h>
#include <gmime/gmime.h>
#include <stdio.h>
#include <string.h>

static void printText(const char* text) {
    if (text == NULL) {
        fputs("null", stdout);
        return;
    }
    char* const valid = g_utf8_make_valid(text, -1);
    putchar('"');
    for (const char* c = valid; *c != '\0'; ++c) {
        if (*c == '"' || *c == '\\') {
            printf("\\%c", *c);
        } else if ((unsigned char)*c < 0x20) {
            printf("\\u%04x", *c);
        } else {
            putchar(*c);
        }
    }
    putchar('"');
    g_free(valid);
}

static void printField(const char* name, const char* text) {
    printf(",\"%s\":", name);
    printText(text);
}

static void printMailboxes(InternetAddressList* list, int* count) {
    const int size = list == NULL ? 0 : internet_address_list_length(list);
    for (int i = 0; i < size; ++i) {
        InternetAddress* const address = internet_address_list_get_address(list, i);
        if (INTERNET_ADDRESS_IS_GROUP(address)) {
            printMailboxes(internet_address_group_get_members(INTERNET_ADDRESS_GROUP(address)), count);
            continue;
        }
        fputs((*count)++ == 0 ? "[" : ",[", stdout);
        printText(internet_address_get_name(address));
        putchar(',');
        printText(internet_address_mailbox_get_addr(INTERNET_ADDRESS_MAILBOX(address)));
        putchar(']');
    }
}

static void printAddresses(const char* name, InternetAddressList* list) {
    int count = 0;
    printf(",\"%s\":[", name);
    printMailboxes(list, &count);
    putchar(']');
}

static void printData(GMimePart* part) {
    GMimeStream* const memory = g_mime_stream_mem_new();
    GMimeDataWrapper* const content = g_mime_part_get_content(part);
    if (content != NULL) g_mime_data_wrapper_write_to_stream(content, memory);
    const GByteArray* const bytes = g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(memory));
    char* const text = g_base64_encode(bytes->data, bytes->len);
    printField("data", text);
    g_free(text);
    g_object_unref(memory);
}

static void printPart(GMimePart* part, const char* path) {
    GMimeObject* const object = GMIME_OBJECT(part);
    char* const type = g_mime_content_type_get_mime_type(g_mime_object_get_content_type(object));
    fputs("{\"path\":", stdout);
    printText(path);
    printField("type", type);
    printField("name", g_mime_part_get_filename(part));
    printField("disposition", g_mime_object_get_disposition(object));
    printField("cid", g_mime_object_get_content_id(object));
    printData(part);
    putchar('}');
    g_free(type);
}

/* Appends the text when the part is a body of the message itself: neither an attachment, nor named, nor of
 * another type. */
static void appendBody(GMimeObject* object, const char* subtype, GString* text) {
    if (!GMIME_IS_TEXT_PART(object)) return;
    if (g_mime_part_is_attachment(GMIME_PART(object)) || g_mime_part_get_filename(GMIME_PART(object)) != NULL)
        return;
    if (!g_mime_content_type_is_type(g_mime_object_get_content_type(object), "text", subtype)) return;
    char* const body = g_mime_text_part_get_text(GMIME_TEXT_PART(object));
    if (body != NULL) {
        g_string_append(text, body);
        g_string_append_c(text, '\n');
    }
    g_free(body);
}

static void printParts(GMimeMessage* message, GString* text, GString* html) {
    GMimePartIter* const walk = g_mime_part_iter_new(GMIME_OBJECT(message));
    int count = 0;
    gboolean embedded = FALSE;
    char* inside = NULL; /* the path of the message part that the walk is in */
    do {
        GMimeObject* const object = g_mime_part_iter_get_current(walk);
        if (object == NULL) continue;
        char* const path = g_mime_part_iter_get_path(walk);
        embedded = inside != NULL && g_str_has_prefix(path, inside);
        if (GMIME_IS_MESSAGE_PART(object) && !embedded) {
            g_free(inside);
            inside = g_strconcat(path, ".", NULL);
        }
        if (GMIME_IS_PART(object)) {
            if (count++ > 0) putchar(',');
            printPart(GMIME_PART(object), path);
            if (!embedded) {
                appendBody(object, "plain", text);
                appendBody(object, "html", html);
            }
        }
        g_free(path);
    } while (g_mime_part_iter_next(walk));
    g_free(inside);
    g_mime_part_iter_free(walk);
}

static void printMessage(GMimeMessage* message) {
    GString* const text = g_string_new(NULL);
    GString* const html = g_string_new(NULL);
    fputs("{\"parts\":[", stdout);
    printParts(message, text, html);
    putchar(']');
    printField("subject", g_mime_message_get_subject(message));
    printAddresses("from", g_mime_message_get_from(message));
    printAddresses("to", g_mime_message_get_to(message));
    printAddresses("cc", g_mime_message_get_cc(message));
    GDateTime* const date = g_mime_message_get_date(message);
    if (date != NULL) {
        printf(",\"date\":[%" G_GINT64_FORMAT ",%d]", g_date_time_to_unix(date),
               (int)(g_date_time_get_utc_offset(date) / G_TIME_SPAN_MINUTE));
    }
    printField("text", text->len != 0 ? text->str : NULL);
    printField("html", html->len != 0 ? html->str : NULL);
    puts("}");
    g_string_free(text, TRUE);
    g_string_free(html, TRUE);
}

static void dump(const char* path) {
    GMimeStream* const stream = g_mime_stream_fs_open(path, O_RDONLY, 0, NULL);
    if (stream == NULL) {
        puts("{\"error\":\"cannot be opened\"}");
        return;
    }
    GMimeParser* const parser = g_mime_parser_new_with_stream(stream);
    GMimeMessage* const message = g_mime_parser_construct_message(parser, NULL);
    if (message == NULL) {
        puts("{\"error\":\"no message\"}");
    } else {
        printMessage(message);
        g_object_unref(message);
    }
    g_object_unref(parser);
    g_object_unref(stream);
}

int main(int count, char** arguments) {
    if (count == 2 && strcmp(arguments[1], "--version") == 0) {
        printf("GMime %u.%u.%u\n", gmime_major_version, gmime_minor_version, gmime_micro_version);
        return 0;
    }
    g_mime_init();
    char path[4096];
    while (fgets(path, sizeof path, stdin) != NULL) {
        path[strcspn(path, "\n")] = '\0';
        dump(path);
        fflush(stdout);
    }
    return 0;
}
