// Marks what libkelp.so exports; everything else in the library stays hidden.
#ifndef KELP_FOUNDATION_KELP_EXPORT_H
#define KELP_FOUNDATION_KELP_EXPORT_H

#define KELP_EXPORT __attribute__((visibility("default")))

// What an exported class keeps to itself: private operations that no code outside the library refers to.
#define KELP_LOCAL __attribute__((visibility("hidden")))

#endif  // KELP_FOUNDATION_KELP_EXPORT_H
