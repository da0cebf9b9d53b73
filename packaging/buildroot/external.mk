include $(sort $(wildcard $(BR2_EXTERNAL_QUORIN_PATH)/package/*/*.mk))
