/* Symbol visibility for the qor libraries: both are built with hidden visibility, and only
   names marked QOR_API are exported. */
#ifndef QOR_EXPORT_H_
#define QOR_EXPORT_H_

#if defined(QOR_BUILDING_LIBRARY)
#define QOR_API __attribute__((visibility("default")))
#else
#define QOR_API
#endif

#ifdef __cplusplus
#define QOR_EXTERN_C_BEGIN extern "C" {
#define QOR_EXTERN_C_END }
#else
#define QOR_EXTERN_C_BEGIN
#define QOR_EXTERN_C_END
#endif

#endif /* QOR_EXPORT_H_ */
