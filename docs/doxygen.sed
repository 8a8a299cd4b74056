# Makes comments that doxygen reads of plain ones: the file's own in the second line, those on lines of their own, and
# those behind a declaration.
1d
2s,^/\* ,/** @file\
 * ,
2s,^// ,/// @file\
/// ,
s,^\( *\)/\* \([^-]\),\1/** \2,
s,\([;{,0-9A-Za-z)]\)  */\* ,\1 /**< ,
s,^\( *\)// \([^-]\),\1/// \2,
s,\([;{,]\)  *// ,\1 ///< ,
