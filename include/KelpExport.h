// Marks what libkelp.so exports; everything else in the library stays hidden.
#ifndef KELP_FOUNDATION_KELP_EXPORT_H
#define KELP_FOUNDATION_KELP_EXPORT_H

#define KELP_EXPORT __attribute__((visibility("default")))

#endif  // KELP_FOUNDATION_KELP_EXPORT_H
