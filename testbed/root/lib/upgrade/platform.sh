# Whether a file can be this device's firmware: anything that is not empty.
platform_check_image() {
	journal platform_check_image "$@"
	[ -s "$1" ] && return 0
	echo "Invalid image"
	return 1
}
