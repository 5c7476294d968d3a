#pragma once

/// Marks a class or function of the service-client layer as part of its binary interface. Both
/// libraries are built with hidden visibility, so what lacks this mark stays inside.
#define CLOUDSTORAGE_API __attribute__((visibility("default")))
