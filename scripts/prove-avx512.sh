#!/usr/bin/env bash
# Runs the AVX-512 inner products, and the whole receiver with them against the literal twin, on an
# emulated processor that has AVX-512: prove-avx512.sh BUILD FOLDER
# BUILD holds the built tests; needs root for the emulator's packages. CASES: how many random cases, one by default: each
# takes minutes.
set -euo pipefail
cd "$(dirname "$0")/.."
build=$(realpath "$1")
mkdir -p "$2"
folder=$(realpath "$2")
scripts/setup.sh "" bochs bochs-term bochsbios vgabios isolinux syslinux-common xorriso busybox-static cpio
cd "$folder"
rm -rf root disk boot.iso serial.txt bochs.txt

# A Debian kernel; nothing of it is installed here.
if ! ls kernel/boot/vmlinuz-* >/dev/null 2>&1; then
    apt-get download -qq "$(apt-cache depends linux-image-cloud-amd64 | grep -oPm1 'Depends: \Klinux-image-\S+')"
    dpkg -x linux-image-*.deb kernel
fi

# A system of one shell, the tests at the places where they were built, and what these load.
mkdir -p root/bin root/proc root/dev root/tmp disk/isolinux
cp /bin/busybox root/bin
for command in sh mount grep sleep poweroff; do ln -s busybox "root/bin/$command"; done
runtime=$build/tests/runtime/test_runtime
literal=$build/tests/literal/test_literal
libraries=$(ldd "$runtime" "$literal" | grep -oP '/\S+(?= \(0x)' | sort -u)
for file in "$runtime" "$literal" "$build/package/Retimer_RX_RT.so" $libraries; do
    mkdir -p "root$(dirname "$file")"
    cp -L "$file" "root$file"
done
cat >root/init <<END
#!/bin/sh
mount -t proc proc /proc
mount -t devtmpfs dev /dev
exec >/dev/ttyS0 2>&1
grep -o 'avx512[a-z]*' /proc/cpuinfo
cd /tmp
$runtime --gtest_filter='*Fir*:*InnerProducts*' &&
    RETIMER_DIFFERENTIAL_CASES=${CASES:-1} $literal --gtest_filter='*RandomCases' && echo AVX-512 AGREES
sleep 5  # until the last line is out
poweroff -f
END
chmod +x root/init
(cd root && find . | cpio -o -H newc --quiet >../disk/initrd)

cp kernel/boot/vmlinuz-* disk/vmlinuz
cp /usr/lib/ISOLINUX/isolinux.bin /usr/lib/syslinux/modules/bios/ldlinux.c32 disk/isolinux
# The emulator miscounts the compacted form of the registers' save area; without it the kernel
# would turn all vector registers off.
cat >disk/isolinux/isolinux.cfg <<'END'
DEFAULT tests
LABEL tests
  KERNEL /vmlinuz
  APPEND initrd=/initrd console=ttyS0 mitigations=off lpj=1000000 tsc=reliable clearcpuid=321,323
END
xorriso -as mkisofs -quiet -o boot.iso -b isolinux/isolinux.bin -c isolinux/boot.cat \
    -no-emul-boot -boot-load-size 4 -boot-info-table disk 2>xorriso.log
cat >bochsrc <<END
display_library: term
romimage: file=/usr/share/bochs/BIOS-bochs-latest
vgaromimage: file=/usr/share/bochs/VGABIOS-lgpl-latest
cpu: model=corei7_skylake_x, ips=50000000
memory: guest=512, host=512
ata0-master: type=cdrom, path=$folder/boot.iso, status=inserted
boot: cdrom
com1: enabled=1, mode=file, dev=$folder/serial.txt
log: $folder/bochs.log
END
echo continue >commands
# The emulator opens a terminal for its screen and stops when nobody reads that.
TERM=xterm timeout 7200 bochs -q -f bochsrc -unlock -rc commands >bochs.txt 2>&1 </dev/null &
emulator=$!
until screen=$(grep -oPm1 'connected to screen "\K[^"]+' bochs.txt); do
    kill -0 $emulator && sleep 1 || { cat bochs.txt; exit 1; }
done
cat "$screen" >/dev/null 2>&1 &
wait $emulator || true
grep -aE 'avx512|OK|FAILED|AGREES' serial.txt
grep -aq avx512f serial.txt && grep -aq 'AVX-512 AGREES' serial.txt
