/** The vendor functions that faults can name. The build fills them in, from vendor_functions.inc. */
export const FUNCTIONS = "@FUNCTIONS@".split(" ");
