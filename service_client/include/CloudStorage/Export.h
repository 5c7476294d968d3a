#pragma once

/// Marks a class or function of the service-client layer as part of its binary interface. Both
/// libraries are built with hidden visibility, so unmarked symbols are not exported.
#define CLOUDSTORAGE_API __attribute__((visibility("default")))
