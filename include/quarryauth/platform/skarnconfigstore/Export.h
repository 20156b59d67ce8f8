// Marks libskarnconfigstore's public interface; everything else stays hidden.
#ifndef SKARNCONFIGSTORE_EXPORT_H
#define SKARNCONFIGSTORE_EXPORT_H

#define SKARNCONFIGSTORE_EXPORT __attribute__((visibility("default")))

#endif
