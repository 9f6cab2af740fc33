/* SPDX-License-Identifier: MIT */
/* A client of the request protocol in one file of C99 and POSIX: adds a subscription, sets user
 * variables, names files by reference and asks for the next number.
 *   cc -o vorn_client vorn_client.c && ./vorn_client [PORT] */
#define _POSIX_C_SOURCE 200809L
#include <arpa/inet.h>
#include <netinet/in.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

enum { HEADER_SIZE = 16, PAYLOAD_MAX = 65536 };

struct message {
    uint16_t type;
    int32_t param1;
    int32_t param2;
    uint32_t length; /* of the payload */
    unsigned char payload[PAYLOAD_MAX];
};

static void put(unsigned char *to, uint32_t number, int bytes) {
    while (bytes-- > 0) {
        to[bytes] = (unsigned char)(number & 0xFF);
        number >>= 8;
    }
}

static uint32_t get(const unsigned char *from, int bytes) {
    uint32_t number = 0;
    for (int i = 0; i < bytes; ++i) number = number << 8 | from[i];
    return number;
}

static void begin(struct message *m, uint16_t type, int32_t param1, int32_t param2) {
    m->type = type;
    m->param1 = param1;
    m->param2 = param2;
    m->length = 0;
}

/* Items: false when they do not fit. */
static int put_number(struct message *m, uint16_t number) {
    if (m->length + 3 > PAYLOAD_MAX) return 0;
    m->payload[m->length] = 1;
    put(m->payload + m->length + 1, number, 2);
    m->length += 3;
    return 1;
}

static int put_text(struct message *m, const char *text) {
    const size_t size = strlen(text);
    if (size > 65535 || m->length + 3 + size > PAYLOAD_MAX) return 0;
    m->payload[m->length] = 2;
    put(m->payload + m->length + 1, (uint32_t)size, 2);
    memcpy(m->payload + m->length + 3, text, size);
    m->length += 3 + (uint32_t)size;
    return 1;
}

static int send_all(int fd, const unsigned char *bytes, size_t size) {
    while (size > 0) {
        const ssize_t sent = send(fd, bytes, size, MSG_NOSIGNAL);
        if (sent <= 0) return 0;
        bytes += sent;
        size -= (size_t)sent;
    }
    return 1;
}

static int read_all(int fd, unsigned char *bytes, size_t size) {
    return size == 0 || recv(fd, bytes, size, MSG_WAITALL) == (ssize_t)size;
}

/* Sends a request and puts the reply in its place; false when the connection fails. */
static int ask(int fd, struct message *m) {
    unsigned char header[HEADER_SIZE] = {0};
    put(header, m->length, 4);
    put(header + 4, m->type, 2);
    put(header + 8, (uint32_t)m->param1, 4);
    put(header + 12, (uint32_t)m->param2, 4);
    if (!send_all(fd, header, sizeof header) || !send_all(fd, m->payload, m->length)) return 0;
    if (!read_all(fd, header, sizeof header)) return 0;
    m->length = get(header, 4);
    m->type = (uint16_t)get(header + 4, 2);
    m->param1 = (int32_t)get(header + 8, 4);
    m->param2 = (int32_t)get(header + 12, 4);
    return m->length <= PAYLOAD_MAX && read_all(fd, m->payload, m->length);
}

static int connect_to(const char *port) {
    struct sockaddr_in address = {0};
    const struct timeval patience = {30, 0};
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons((uint16_t)atoi(port));
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    if (connect(fd, (const struct sockaddr *)&address, sizeof address) == 0) return fd;
    perror("connect");
    exit(1);
}

static void show(const char *what, int fd, struct message *m) {
    if (!ask(fd, m)) {
        fprintf(stderr, "%s: the connection was lost\n", what);
        exit(1);
    }
    printf("%s: (%d, %d, %d)\n", what, (int)m->type, (int)m->param1, (int)m->param2);
}

int main(int argc, char **argv) {
    static struct message m;
    const char *port = argc > 1 ? argv[1] : getenv("NX_PORT");
    const int fd = connect_to(port != NULL ? port : "55000");

    begin(&m, 257, 1, 0);
    if (put_text(&m, "tx") && put_text(&m, "gen1") && put_text(&m, "gen1"))
        show("add subscription", fd, &m);
    begin(&m, 261, 2, 0);
    if (put_text(&m, "operator") && put_text(&m, "J. Doe") && put_text(&m, "site") &&
        put_text(&m, "Lab 2"))
        show("set variables", fd, &m);
    begin(&m, 264, 0, 1);
    if (put_number(&m, 1) && put_text(&m, "run")) show("names by reference", fd, &m);
    begin(&m, 266, 0, 0);
    if (!ask(fd, &m)) return 1;
    printf("next number: %d by %s\n", (int)m.param2, m.param1 == 1 ? "sequence" : "time");
    close(fd);
    return 0;
}
