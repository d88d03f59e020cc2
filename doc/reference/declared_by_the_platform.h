/*
 * What the library exports and the platform's own header declares, because the record is the platform's. C++17.
 */
#include <nuv_platform/platform_aul.h>

/**
 * Takes the id of the first visible application that the database knows; an iterator of
 * aul_app_get_running_app_info(). It asks the database about each visible application, which takes at most 98 s
 * (nuv/nuv_inner_database.h says when). Where memory runs out it passes the application over. A visible application
 * without a platform id makes it throw std::logic_error.
 *
 * @param info   the running application that the iterator is at
 * @param buffer receives the id, cut at 254 bytes; of 255 bytes, the first of which is to be zero
 * @return -1 ends the walk (the id is there, or the buffer is null), 0 goes on
 */
int nuv_get_running_appIter_func(const aul_app_info* info, void* buffer);
