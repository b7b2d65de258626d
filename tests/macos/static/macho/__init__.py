"""Mach-O files, read as far as the checks need it. Each reader fails on what it does not understand
rather than passing over it."""
