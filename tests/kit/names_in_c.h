/* The names of the numbers, as a C program gets them. */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

const char* EventNameInC(int event);
const char* StatusTextInC(int status);
const char* ResultTextInC(int result);
const char* PopupNameInC(int kind);

#ifdef __cplusplus
}
#endif
