# UNTESTED: written from Buildroot's manual, never built with it.
include $(sort $(wildcard $(BR2_EXTERNAL_TLDEVICE_PATH)/*/*.mk))
