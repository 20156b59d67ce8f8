// Marks libtesselctl's public interface; everything else stays hidden.
#ifndef TESSELCTL_EXPORT_H
#define TESSELCTL_EXPORT_H

#define TESSELCTL_EXPORT __attribute__((visibility("default")))

#endif
