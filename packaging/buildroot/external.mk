# UNTRIED: written from Buildroot's manual; no build with Buildroot was made.
include $(sort $(wildcard $(BR2_EXTERNAL_TLDEVICE_PATH)/*/*.mk))
